#include "host/workbench/Workbench.h"

#include <QApplication>
#include <QPixmap>
#include <QSaveFile>
#include <QWindow>
#include <optional>
#include <system_error>

#include "host/Console.h"
#include "host/Patience.h"
#include "host/PluginState.h"
#include "host/Waiting.h"
#include "host/workbench/WorkbenchWindow.h"
#include "platform/threads/Interruption.h"

namespace velmora {

namespace {

ExitCode complainOfPicture(const Options& options, const std::string& reason) {
    complain("the picture " + inQuotes(options.screenshot->string()) + " cannot be written: " + reason);
    return ExitCode::unusable;
}

// What is there and is no regular file, such as a device, is not replaced by one.
bool mayBeReplaced(const std::filesystem::path& path) {
    std::error_code fault;
    const auto type = std::filesystem::status(path, fault).type();
    return type == std::filesystem::file_type::regular || type == std::filesystem::file_type::not_found;
}

ExitCode takeScreenshot(WorkbenchWindow& window, PluginHost& host, const Options& options, QSaveFile& picture) {
    const bool isComplete = waitUntil(
        [&] { return attributesAreThere(host) && !window.session().isReading() && window.windowHandle()->isExposed(); },
        options.wait);
    if (!window.grab().save(&picture, "PNG") || !picture.commit())
        return complainOfPicture(options, picture.errorString().toStdString());
    if (isComplete) return ExitCode::done;
    complain("the attributes did not come in time (--wait). " + window.session().situation().text.toStdString());
    return ExitCode::timedOut;
}

}  // namespace

ExitCode runWorkbench(PluginHost& host, SettingsFile& settingsFile, const Options& options) {
    std::optional<QSaveFile> picture;  // opened first: what cannot be written is said before the wait
    if (options.screenshot) {
        if (!mayBeReplaced(*options.screenshot)) return complainOfPicture(options, "it is no regular file");
        picture.emplace(QString::fromStdString(options.screenshot->string()));
        if (!picture->open(QIODevice::WriteOnly))
            return complainOfPicture(options, picture->errorString().toStdString());
    }
    WorkbenchWindow window(host, settingsFile);
    window.show();
    if (!window.session().start(options.defaults) && picture) return ExitCode::refused;
    if (picture) {
        const ExitCode code = takeScreenshot(window, host, options, *picture);
        window.document().discardChanges();
        return code;
    }
    const Interruption interruption([&] { window.close(); });
    const Patience patience(interruption);
    QApplication::exec();
    window.document().discardChanges();  // what is not saved by now is not to be
    return ExitCode::done;
}

}  // namespace velmora
