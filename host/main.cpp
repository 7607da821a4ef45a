// velmora-host: loads the plugin's bundle and runs one command with it.
#include <net/if.h>
#include <unistd.h>

#include <QApplication>
#include <csignal>
#include <cstdlib>
#include <memory>

#include "host/Commands.h"
#include "host/Console.h"
#include "host/Options.h"
#include "host/PluginHost.h"
#include "host/SettingsCheck.h"
#include "host/SettingsFile.h"
#include "host/workbench/Workbench.h"
#include "platform/foundation/Descriptor.h"
#include "platform/foundation/NSLog.h"
#include "platform/network/NSNetServiceBrowser.h"

namespace velmora {

namespace {

bool interfacesExist(const std::vector<std::string>& names) {
    for (const std::string& name : names) {
        if (if_nametoindex(name.c_str()) != 0) continue;
        complain("there is no network interface " + inQuotes(name) + "; \"ip link\" lists those that there are");
        return false;
    }
    return true;
}

// The bundle that was asked for, or the one that was built or installed with this program; none when there is none.
std::optional<std::filesystem::path> bundleFolder(const Options& options) {
    if (options.bundle) return options.bundle;
    const std::filesystem::path folder = QCoreApplication::applicationDirPath().toStdString();
    const std::filesystem::path place = (folder / VELMORA_BUNDLE_FROM_PROGRAMS).lexically_normal();
    std::error_code fault;
    if (std::filesystem::is_directory(place, fault)) return place;
    complain("the plugin's bundle is not at " + inQuotes(place.string()) + "; --bundle DIR says where it is");
    return std::nullopt;
}

// The workbench shows them in its window.
void complainOfSettings(const PluginHost& host, const SettingsFile& file) {
    for (const std::string& doubt : doubtsAboutSettings(host.plugin().defaultSettings(), file.foreignEntries())) {
        complain(doubt);
    }
}

ExitCode run(const Options& options) {
    NSLogMirrorToStandardError(options.verbose);
    if (!interfacesExist(options.interfaces)) return ExitCode::unusable;
    limitNetServicesToInterfaces(options.interfaces);

    std::string error;
    SettingsFile settingsFile(options.settings);
    if (!settingsFile.read(&error)) {
        complain(error + "; the file is left as it is: mend it, or name another with --settings");
        return ExitCode::unusable;
    }
    const auto bundle = bundleFolder(options);
    if (!bundle) return ExitCode::unusable;
    if (settingsFile.isMissing())
        complain("there is no settings file " + inQuotes(settingsFile.path()->string()) +
                 "; the plugin starts without settings");
    PluginHost host(settingsFile);
    if (!host.load(*bundle, &error)) {
        complain("the bundle " + inQuotes(bundle->string()) + " cannot be loaded: " + error +
                 "; --bundle DIR names another");
        return ExitCode::unusable;
    }
    if (options.command != CommandName::workbench) complainOfSettings(host, settingsFile);
    ExitCode code = options.command == CommandName::workbench ? runWorkbench(host, settingsFile, options)
                                                              : Commands(host, options).run();
    if (!host.unload(&error)) {
        complain(error);
        if (code == ExitCode::done) code = ExitCode::unusable;
    }
    if (!outputIsGood()) {
        complain("the results could not be written to standard output");
        if (code == ExitCode::done) code = ExitCode::unusable;
    }
    return code;
}

// Without a window system Qt ends the process; it shall end as this program ends where something is missing.
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
    std::signal(SIGXFSZ, SIG_IGN);  // a file that may not grow is an error for whoever writes it, and ends nobody
    std::signal(SIGPIPE, SIG_IGN);  // a closed pipe shows when it is written to, so that the plugin is stopped in order
    const auto parsed = parseOptions(argc, argv);
    if (const auto* end = std::get_if<EarlyEnd>(&parsed)) {
        if (end->code == ExitCode::done) {
            printText(end->text);
        } else {
            complain(end->text);
        }
        return static_cast<int>(outputIsGood() ? end->code : ExitCode::unusable);
    }
    const auto& options = std::get<Options>(parsed);
    const auto application = makeApplication(options.command, argc, argv);
    return static_cast<int>(run(options));
}

}  // namespace

}  // namespace velmora

// NOLINTNEXTLINE(bugprone-exception-escape): without memory there is nothing to be done but to end
int main(int argc, char** argv) {
    return velmora::start(argc, argv);
}
