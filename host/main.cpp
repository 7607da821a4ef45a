// velmora-host: loads the plugin's bundle and runs one command with it.
#include <net/if.h>
#include <unistd.h>

#include <QApplication>
#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <memory>
#include <string_view>

#include "host/BundleSearch.h"
#include "host/Console.h"
#include "host/ExitCode.h"
#include "host/Naming.h"
#include "host/Options.h"
#include "host/PluginHost.h"
#include "host/PluginState.h"
#include "host/Quotes.h"
#include "host/SettingsCheck.h"
#include "host/SettingsFile.h"
#include "host/terminal/CheckServer.h"
#include "host/terminal/Commands.h"
#include "host/terminal/PluginList.h"
#include "host/terminal/Report.h"
#include "host/terminal/SalvoSource.h"
#include "host/terminal/SettingsCommands.h"
#include "host/workbench/Workbench.h"
#include "platform/foundation/Descriptor.h"
#include "platform/foundation/NSLog.h"
#include "platform/network/NSNetServiceBrowser.h"

namespace velmora {

namespace {

Result<void> checkInterfaces(const std::vector<std::string>& names) {
    for (const std::string& name : names) {
        if (if_nametoindex(name.c_str()) == 0)
            return Failure{"there is no network interface " + inQuotes(name) + "; \"ip link\" lists them"};
    }
    return {};
}

ExitCode unusable(const std::string& why, bool asJson) {
    Report report(asJson);
    return report.finish(report.fail(ExitCode::unusable, why));
}

// Before the command line is understood.
bool asksForJson(int argc, const char* const* argv) {
    return std::any_of(argv, argv + argc, [](std::string_view word) { return word == "--json"; });
}

ExitCode runLoaded(PluginHost& host, SettingsFile& settingsFile, const Options& options,
                   const DictionaryReference& settings) {
    if (options.command == CommandName::workbench) return runWorkbench(host, settingsFile, options);
    // For a person at the terminal; the workbench shows them in its window. Of a part that the plugin was given, all.
    const DictionaryReference given = host.plugin().defaultSettings();
    const bool isPart = settings != settingsFile.settings() && hasConfiguredOutputs(host.plugin());
    for (const std::string& doubt : doubtsAboutSettings(isPart ? settings : given, settingsFile)) {
        complain(doubt);
    }
    return runCommand(host, options, settings);
}

ExitCode run(Options options) {
    const auto unusable = [&](const std::string& why) { return velmora::unusable(why, options.json); };
    NSLogMirrorToStandardError(options.verbose);
    if (const auto checked = checkInterfaces(options.interfaces); !checked) return unusable(checked.failure().reason);
    limitNetServicesToInterfaces(options.interfaces);

    if (options.command == CommandName::plugins) return withOutput(listPlugins(options));
    if (options.command == CommandName::configure) return withOutput(configure(options));
    if (options.command == CommandName::checkSettings) return withOutput(checkSettings(options));
    if (options.command == CommandName::checkServer) return withOutput(checkServer(options));

    SettingsFile settingsFile(options.settings);
    if (const auto read = settingsFile.read(); !read)
        return unusable(read.failure().reason + "; it is left as it is: mend it, or name another with --settings");
    const DictionaryReference settings = settingsFile.settings();
    if (const auto taken = takeSteps(options); !taken) return unusable(taken.failure().reason);
    const auto names = namesAskedFor(options);
    if (const auto part = names ? settingsForAttributes(settings, *names) : std::nullopt) settingsFile.giveOnly(*part);
    const auto bundle = findBundle(options.bundle);
    if (!bundle) return unusable(bundle.failure().reason);
    if (settingsFile.isMissing())
        complain("there is no settings file " + inQuotes(settingsFile.path()->string()) +
                 "; the plugin starts without settings");
    PluginHost host(settingsFile);
    if (const auto loaded = host.load(*bundle); !loaded)
        return unusable("the bundle " + inQuotes(bundle->string()) + " cannot be loaded: " + loaded.failure().reason +
                        "; --bundle DIR names another");
    ExitCode code = runLoaded(host, settingsFile, options, settings);
    const auto unloaded = host.unload();
    if (!unloaded) complain(unloaded.failure().reason);
    if (code == ExitCode::done && !unloaded) code = ExitCode::unusable;
    return withOutput(code);
}

// Without a window system Qt aborts the process. It must end as this program ends wherever something is missing.
void endWithoutWindows(QtMsgType type, const QMessageLogContext&, const QString& message) {
    if (type == QtFatalMsg) {
        complain("the workbench needs a window system: " + message.section('\n', 0, 0).toStdString());
        _exit(static_cast<int>(ExitCode::unusable));
    }
}

// Only the workbench needs a window system.
std::unique_ptr<QCoreApplication> makeApplication(CommandName command, int& argc, char** argv) {
    if (command != CommandName::workbench) return std::make_unique<QCoreApplication>(argc, argv);
    const QtMessageHandler usual = qInstallMessageHandler(endWithoutWindows);
    auto application = std::make_unique<QApplication>(argc, argv);
    qInstallMessageHandler(usual);
    return application;
}

int start(int argc, char** argv) {
    occupyStandardDescriptors();
    std::signal(SIGXFSZ, SIG_IGN);  // a file that must not grow is an error for its writer, not the end of the process
    std::signal(SIGPIPE, SIG_IGN);  // a closed pipe fails the write, so the plugin can still be stopped in order
    const Result<Options> options = parseOptions(argc, argv);
    if (!options) return static_cast<int>(unusable(options.failure().reason, asksForJson(argc, argv)));
    if (!options->information.empty()) {
        printText(options->information);
        return static_cast<int>(withOutput(ExitCode::done));
    }
    const auto application = makeApplication(options->command, argc, argv);
    return static_cast<int>(run(*options));
}

}  // namespace

}  // namespace velmora

// NOLINTNEXTLINE(bugprone-exception-escape): without memory there is nothing left to do but end
int main(int argc, char** argv) {
    return velmora::start(argc, argv);
}
