#include "platform/foundation/NSBundle.h"

#include <dlfcn.h>
#include <elf.h>
#include <link.h>

#include <QCoreApplication>
#include <QEventLoop>
#include <QTimer>
#include <chrono>
#include <system_error>

#include "platform/foundation/PropertyListXML.h"
#include "platform/foundation/Text.h"
#include "platform/threads/MainThread.h"
#include "platform/threads/Moment.h"
#include "platform/threads/NSThread.h"

namespace velmora {

namespace {

constexpr const char* kEntrySymbol = "VelmoraBundleEntry";
// How long unload waits for threads to end, and then for the work that they handed to the main thread.
constexpr Seconds kWindDownTime{5};
// How often the main thread looks meanwhile, should nothing wake it.
constexpr std::chrono::milliseconds kLookTime{50};

// A name that leads nowhere else than to an entry of the folder itself.
bool isPlainFileName(std::string_view name) {
    return !name.empty() && name != "." && name != ".." &&
           name.find_first_of(std::string_view("/\0", 2)) == std::string_view::npos;
}

bool isFile(const std::filesystem::path& path) {
    std::error_code ignored;
    return std::filesystem::is_regular_file(path, ignored);
}

std::string loaderReason() {
    const char* reason = dlerror();  // NOLINT(concurrency-mt-unsafe): glibc keeps one for each thread
    return reason != nullptr ? reason : "unknown reason";
}

// The exported record, or null when there is none or the symbol is no data. Looking it up calls nothing of the module.
const VelmoraBundleEntryRecord* entryOfModule(void* module) {
    void* const symbol = dlsym(module, kEntrySymbol);
    if (symbol == nullptr) return nullptr;
    Dl_info information{};
    void* extra = nullptr;
    if (dladdr1(symbol, &information, &extra, RTLD_DL_SYMENT) == 0 || extra == nullptr) return nullptr;
    const auto* description = static_cast<const ElfW(Sym)*>(extra);
    // The version comes first in the record of any version; what follows is read only when the version is right.
    const bool isData =
        ELF64_ST_TYPE(description->st_info) == STT_OBJECT && description->st_size >= sizeof(std::uint32_t);
    return isData ? static_cast<const VelmoraBundleEntryRecord*>(symbol) : nullptr;
}

// Whether the module can be used with this version and principal class.
Result<void> checkEntry(const VelmoraBundleEntryRecord* entry, std::uint32_t protocolVersion,
                        const std::optional<std::string>& principalClass) {
    if (entry == nullptr) return Failure{stringWithFormat("it does not export \"%@\"", kEntrySymbol)};
    if (entry->protocolVersion != protocolVersion) {
        return Failure{stringWithFormat(
            "it was built for version %li of the host protocol, this host has version %li; install the plugin that "
            "belongs to the host",
            entry->protocolVersion, protocolVersion)};
    }
    if (entry->principalClass == nullptr || entry->makePrincipalObject == nullptr) {
        return Failure{stringWithFormat("its \"%@\" is incomplete", kEntrySymbol)};
    }
    if (principalClass != entry->principalClass) {
        return Failure{stringWithFormat("its principal class is %@, but Info.plist names %@ under \"NSPrincipalClass\"",
                                        entry->principalClass, principalClass)};
    }
    return {};
}

// Runs what has been handed to the main thread so far: it may be code of the module. False when it was not all run in
// time.
bool runHandedOverWork() {
    if (QCoreApplication::instance() == nullptr) return true;
    const auto reached = std::make_shared<bool>(false);
    MainThread::performLater([reached] { *reached = true; });
    const Date deadline = fromNow(kWindDownTime);
    QTimer lookAgain;
    lookAgain.start(kLookTime);
    while (!*reached && std::chrono::steady_clock::now() < deadline) {
        QCoreApplication::processEvents(QEventLoop::ExcludeUserInputEvents | QEventLoop::WaitForMoreEvents);
    }
    return *reached;
}

}  // namespace

NSBundle::NSBundle(std::filesystem::path path, DictionaryReference infoDictionary)
    : path_(std::move(path)),
      infoDictionary_(std::move(infoDictionary)),
      livePrincipalObjects_(std::make_shared<std::atomic<int>>(0)) {}

NSBundle::~NSBundle() = default;

Result<std::shared_ptr<NSBundle>> NSBundle::bundleWithPath(const std::filesystem::path& folder) {
    // The working directory may be another when something is looked up later.
    std::error_code unresolved;
    const std::filesystem::path path = std::filesystem::canonical(folder, unresolved);
    if (unresolved) {
        return Failure{stringWithFormat("there is no bundle at %@: %@", folder.string(), unresolved.message())};
    }
    const std::filesystem::path file = path / "Contents" / "Info.plist";
    const auto information = propertyListWithContentsOfFile(file);
    if (!information) return information.failure();
    DictionaryReference dictionary = information->dictionary();
    if (!dictionary) return Failure{stringWithFormat("%@ does not hold a dictionary", file.string())};
    return std::shared_ptr<NSBundle>(new NSBundle(path, std::move(dictionary)));
}

std::optional<std::string> NSBundle::objectForInfoDictionaryKey(std::string_view key) const {
    return textForKey(infoDictionary_, key);
}

std::optional<std::filesystem::path> NSBundle::pathForResource(std::string_view name, std::string_view type) const {
    const std::string fileName = type.empty() ? std::string(name) : stringWithFormat("%@.%@", name, type);
    if (!isPlainFileName(fileName)) return std::nullopt;
    std::filesystem::path path = path_ / "Contents" / "Resources" / fileName;
    if (!isFile(path)) return std::nullopt;
    return path;
}

Result<void> NSBundle::load(std::uint32_t protocolVersion) {
    const auto executable = objectForInfoDictionaryKey("CFBundleExecutable");
    if (!executable || !isPlainFileName(*executable)) {
        return Failure{stringWithFormat(
            "%@ names no module: \"CFBundleExecutable\" in its Info.plist must be a file name without a path",
            path_.string())};
    }
    const std::filesystem::path file = path_ / "Contents" / *executable;
    const auto refusal = [&file](const std::string& reason) {
        return Failure{stringWithFormat("%@ cannot be loaded: %@", file.string(), reason)};
    };
    // The loader would open anything, and wait for a pipe.
    if (!isFile(file)) return refusal("there is no such file");
    const auto principalClass = objectForInfoDictionaryKey("NSPrincipalClass");
    void* const module = isLoaded() ? module_ : dlopen(file.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (module == nullptr) return refusal(loaderReason());
    const VelmoraBundleEntryRecord* const entry = isLoaded() ? entry_ : entryOfModule(module);
    // A refused module stays in memory, too: its static constructors may have left a timer or a type with Qt.
    if (const auto checked = checkEntry(entry, protocolVersion, principalClass); !checked)
        return refusal(checked.failure().reason);
    module_ = module;
    entry_ = entry;
    return {};
}

Result<std::shared_ptr<NSObject>> NSBundle::makePrincipalObject() {
    if (!isLoaded()) return Failure{stringWithFormat("%@ is not loaded", path_.string())};
    NSObject* const object = entry_->makePrincipalObject(std::static_pointer_cast<NSBundle>(shared_from_this()));
    if (object == nullptr) {
        return Failure{
            stringWithFormat("%@ made no object of its principal class %@", path_.string(), entry_->principalClass)};
    }
    ++*livePrincipalObjects_;
    // Counted down when the last of the module's code that belongs to the object has run.
    return std::shared_ptr<NSObject>(object, [count = livePrincipalObjects_](NSObject* gone) {
        delete gone;
        --*count;
    });
}

Failure NSBundle::refusal(const std::string& reason) const {
    return {stringWithFormat("%@ stays loaded: %@", path_.string(), reason)};
}

Result<void> NSBundle::unload() {
    if (!isLoaded()) return {};
    const auto inUse = [&] { return livePrincipalObjects_->load() > 0; };
    if (MainThread::currentMode() != NSDefaultRunLoopMode) {
        return refusal("a panel, which may be the module's, is open");
    }
    if (inUse()) return refusal("an object that it made is alive");
    if (!NSThread::finishCancelledThreads(kWindDownTime)) {
        return refusal("one of its threads has not ended");
    }
    if (!runHandedOverWork()) return refusal("work for the main thread has not been run");
    // That work may have been the host's, too.
    if (inUse()) return refusal("an object that it made is alive");
    entry_ = nullptr;
    module_ = nullptr;
    return {};
}

}  // namespace velmora
