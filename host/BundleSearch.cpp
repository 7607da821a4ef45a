#include "host/BundleSearch.h"

#include <QCoreApplication>
#include <algorithm>
#include <string>
#include <system_error>

#include "host/Quotes.h"
#include "platform/foundation/Joined.h"
#include "platform/foundation/QtText.h"

namespace velmora {

namespace {

constexpr const char* kVariable = "VELMORA_PLUGIN_PATH";
constexpr const char* kExtension = ".bundle";

bool isFolder(const std::filesystem::path& path) {
    std::error_code fault;
    return std::filesystem::is_directory(path, fault);
}

// The same folder may be reached by several names: "lib" may be a link, and so may the program.
std::filesystem::path plain(const std::filesystem::path& path) {
    std::error_code fault;
    const std::filesystem::path resolved = std::filesystem::weakly_canonical(path, fault);
    return fault ? path.lexically_normal() : resolved;
}

// A relative folder would be another one wherever the program is started, and might be anybody's.
std::vector<std::filesystem::path> foldersOfEnvironment() {
    std::vector<std::filesystem::path> folders;
    for (const QString& folder : qEnvironmentVariable(kVariable).split(':', Qt::SkipEmptyParts)) {
        if (folder.startsWith('/')) folders.emplace_back(folder.toStdString());
    }
    return folders;
}

std::vector<std::filesystem::path> bundlesIn(const std::filesystem::path& folder) {
    std::vector<std::filesystem::path> bundles;
    std::error_code fault;
    for (std::filesystem::directory_iterator entry(folder, fault), end; !fault && entry != end;
         entry.increment(fault)) {
        if (entry->path().extension() == kExtension && isFolder(entry->path())) bundles.push_back(entry->path());
    }
    std::ranges::sort(bundles);
    return bundles;
}

}  // namespace

std::vector<std::filesystem::path> bundleSearchPath() {
    std::vector<std::filesystem::path> candidates = foldersOfEnvironment();
    const std::filesystem::path program = QCoreApplication::applicationDirPath().toStdString();
    candidates.push_back(program / VELMORA_BUNDLES_FROM_PROGRAMS);
    candidates.emplace_back(VELMORA_INSTALLED_BUNDLES);
    std::vector<std::filesystem::path> folders;
    for (const std::filesystem::path& candidate : candidates) {
        const std::filesystem::path folder = plain(candidate);
        if (std::ranges::find(folders, folder) == folders.end()) folders.push_back(folder);
    }
    return folders;
}

std::vector<std::filesystem::path> bundlesInSearchPath() {
    std::vector<std::filesystem::path> bundles;
    for (const std::filesystem::path& folder : bundleSearchPath()) {
        const auto more = bundlesIn(folder);
        bundles.insert(bundles.end(), more.begin(), more.end());
    }
    return bundles;
}

Result<std::filesystem::path> findBundle(const std::optional<std::filesystem::path>& asked) {
    const std::filesystem::path name = asked.value_or(kUsualBundle);
    // One of the working directory counts only when it was asked for.
    if (asked && (name.has_parent_path() || isFolder(name))) return name;
    std::filesystem::path file = name;
    if (file.extension() != kExtension) file += kExtension;
    const std::vector<std::filesystem::path> folders = bundleSearchPath();
    for (const std::filesystem::path& folder : folders) {
        if (isFolder(folder / file)) return folder / file;
    }
    const auto shown = [](const std::filesystem::path& folder) { return inQuotes(folder.string()); };
    return Failure{"there is no bundle " + inQuotes(file.string()) + " in " + joined(folders, shown) +
                   "; --bundle DIR says where it is"};
}

}  // namespace velmora
