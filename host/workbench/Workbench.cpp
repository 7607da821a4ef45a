#include "host/workbench/Workbench.h"

#include <QApplication>
#include <QPixmap>
#include <QSaveFile>
#include <QWindow>

#include "host/Console.h"
#include "host/Interruption.h"
#include "host/PluginState.h"
#include "host/Waiting.h"
#include "host/workbench/WorkbenchWindow.h"

namespace velmora {

namespace {

ExitCode takeScreenshot(WorkbenchWindow& window, PluginHost& host, const Options& options) {
    const bool isComplete = waitUntil(
        [&] {
            return attributesAreThere(host.plugin()) && !window.session().isReading() &&
                   window.windowHandle()->isExposed();
        },
        options.wait);
    QSaveFile file(QString::fromStdString(options.screenshot->string()));
    if (!file.open(QIODevice::WriteOnly) || !window.grab().save(&file, "PNG") || !file.commit()) {
        complain("the picture " + inQuotes(options.screenshot->string()) +
                 " cannot be written: " + file.errorString().toStdString());
        return ExitCode::unusable;
    }
    if (isComplete) return ExitCode::done;
    complain("the attributes did not come in time (--wait). " + window.session().situation().text.toStdString());
    return ExitCode::timedOut;
}

}  // namespace

ExitCode runWorkbench(PluginHost& host, SettingsFile& settingsFile, const Options& options) {
    WorkbenchWindow window(host, settingsFile);
    window.show();
    if (!window.session().start(options.defaults) && options.screenshot) return ExitCode::refused;
    if (options.screenshot) {
        const ExitCode code = takeScreenshot(window, host, options);
        window.document().discardChanges();
        return code;
    }
    const Interruption interruption([&] { window.close(); });
    QApplication::exec();
    return ExitCode::done;
}

}  // namespace velmora
