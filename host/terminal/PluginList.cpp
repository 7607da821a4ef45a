#include "host/terminal/PluginList.h"

#include <QJsonArray>
#include <algorithm>

#include "host/BundleSearch.h"
#include "host/Console.h"
#include "host/terminal/Json.h"
#include "host/terminal/Report.h"
#include "host/terminal/TextTable.h"
#include "platform/foundation/NSBundle.h"

namespace velmora {

namespace {

struct Plugin {
    std::filesystem::path path;
    std::optional<std::string> name, version;
    bool isUsed = false;
};

// One that no host could load is told of, and left out.
std::optional<Plugin> pluginAt(const std::filesystem::path& path, Report& report) {
    const auto bundle = NSBundle::bundleWithPath(path);
    if (!bundle) {
        report.complain(bundle.failure().reason);
        return std::nullopt;
    }
    return Plugin{path, (*bundle)->objectForInfoDictionaryKey("CFBundleName"),
                  (*bundle)->objectForInfoDictionaryKey("CFBundleShortVersionString")};
}

void print(const std::vector<Plugin>& plugins) {
    std::vector<std::vector<std::string>> rows = {{"  NAME", "VERSION", "PATH"}};
    for (const Plugin& plugin : plugins) {
        rows.push_back({(plugin.isUsed ? "* " : "  ") + plugin.name.value_or(plugin.path.stem().string()),
                        plugin.version.value_or(""), plugin.path.string()});
    }
    printText(textTable(std::move(rows)));
}

QJsonArray jsonOf(const std::vector<Plugin>& plugins) {
    QJsonArray list;
    for (const Plugin& plugin : plugins) {
        list.append(QJsonObject{{"name", jsonValue(plugin.name)},
                                {"version", jsonValue(plugin.version)},
                                {"path", jsonValue(plugin.path.string())},
                                {"used", plugin.isUsed}});
    }
    return list;
}

}  // namespace

ExitCode listPlugins(const Options& options) {
    Report report(options.json);
    ExitCode code = ExitCode::done;
    const auto used = findBundle(options.bundle);
    if (!used) code = report.fail(ExitCode::unusable, used.failure().reason);
    std::vector<std::filesystem::path> paths = bundlesInSearchPath();
    if (used && std::ranges::find(paths, *used) == paths.end()) paths.insert(paths.begin(), *used);
    std::vector<Plugin> plugins;
    for (const std::filesystem::path& path : paths) {
        auto plugin = pluginAt(path, report);
        if (!plugin) {
            code = ExitCode::unusable;
            continue;
        }
        plugin->isUsed = used && path == *used;
        plugins.push_back(*std::move(plugin));
    }
    if (!options.json) {
        if (!plugins.empty()) print(plugins);
        return code;
    }
    std::vector<std::string> searched;
    for (const std::filesystem::path& folder : bundleSearchPath()) {
        searched.push_back(folder.string());
    }
    return report.print({{"plugins", jsonOf(plugins)}, {"searched", jsonValue(searched)}}, code);
}

}  // namespace velmora
