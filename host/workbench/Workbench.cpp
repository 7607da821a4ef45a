#include "host/workbench/Workbench.h"

#include <QApplication>
#include <QBuffer>
#include <QPixmap>
#include <QWindow>

#include "host/Console.h"
#include "host/Patience.h"
#include "host/PluginState.h"
#include "host/Quotes.h"
#include "host/Waiting.h"
#include "host/workbench/Translation.h"
#include "host/workbench/WindowIcon.h"
#include "host/workbench/WindowMemory.h"
#include "host/workbench/WorkbenchWindow.h"
#include "platform/foundation/FileContents.h"
#include "platform/threads/Interruption.h"

namespace velmora {

namespace {

ExitCode complainOfPicture(const Options& options, const std::string& reason) {
    complain("the picture " + inQuotes(options.screenshot->string()) + " cannot be written: " + reason);
    return ExitCode::unusable;
}

ExitCode takeScreenshot(WorkbenchWindow& window, PluginHost& host, const Options& options) {
    const bool isComplete = waitUntil(
        [&] { return attributesAreThere(host) && !window.session().isReading() && window.windowHandle()->isExposed(); },
        options.wait);
    QByteArray picture;
    QBuffer buffer(&picture);
    if (!window.grab().save(&buffer, "PNG")) return complainOfPicture(options, "the window cannot be drawn");
    const Result<void> written =
        replaceFile(*options.screenshot, {picture.constData(), static_cast<std::size_t>(picture.size())});
    if (!written) return complainOfPicture(options, written.failure().reason);
    if (isComplete) return ExitCode::done;
    complain("the attributes did not come in time (--wait). " + window.session().situation().text.toStdString());
    return ExitCode::timedOut;
}

}  // namespace

ExitCode runWorkbench(PluginHost& host, SettingsFile& settingsFile, const Options& options) {
    if (options.screenshot) {
        // Told before the long wait, not after it.
        if (const Result<void> may = mayReplaceFile(*options.screenshot); !may)
            return complainOfPicture(options, may.failure().reason);
    }
    const Translation translation;
    QApplication::setWindowIcon(workbenchIcon());
    QApplication::setDesktopFileName("velmora-workbench");
    WorkbenchWindow window(host, settingsFile);
    if (!options.screenshot) window.arrange(rememberedArrangement());  // a picture is the same for everybody
    window.show();
    if (!window.session().start(options.defaults) && options.screenshot) return ExitCode::refused;
    if (options.screenshot) {
        const ExitCode code = takeScreenshot(window, host, options);
        window.document().discardChanges();
        return code;
    }
    const Interruption interruption([&] { window.close(); });
    const Patience patience(interruption);
    QApplication::exec();
    rememberArrangement(window.arrangement());
    window.document().discardChanges();  // what the person has not saved by now stays unsaved
    return ExitCode::done;
}

}  // namespace velmora
