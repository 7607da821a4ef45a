#include "host/workbench/SettingsDialogs.h"

#include <QFileDialog>
#include <QMessageBox>
#include <system_error>

#include "host/Quotes.h"
#include "platform/widgets/DisplayText.h"

namespace velmora {

namespace {

constexpr const char* kFileKinds = "Property lists (*.plist);;All files (*)";

std::optional<std::filesystem::path> chosenFile(const QString& name) {
    return name.isEmpty() ? std::nullopt : std::optional<std::filesystem::path>(name.toStdString());
}

QMessageBox::StandardButton ask(QWidget& window, const QString& question, const QString& details,
                                QMessageBox::StandardButtons buttons, QMessageBox::StandardButton standard) {
    QMessageBox box(QMessageBox::Warning, "Velmora Workbench", question, buttons, &window);
    box.setTextFormat(Qt::PlainText);
    box.setInformativeText(details);
    box.setDefaultButton(standard);
    return static_cast<QMessageBox::StandardButton>(box.exec());
}

}  // namespace

SettingsDocument::Unsaved SettingsDialogs::whatAboutUnsavedSettings() {
    using Unsaved = SettingsDocument::Unsaved;
    switch (ask(window_, "The plugin's settings have changed. Save them?", "Changes that are not saved are lost.",
                QMessageBox::Save | QMessageBox::Discard | QMessageBox::Cancel, QMessageBox::Save)) {
        case QMessageBox::Save:
            return Unsaved::save;
        case QMessageBox::Discard:
            return Unsaved::discard;
        default:
            return Unsaved::keep;
    }
}

bool SettingsDialogs::mayOverwriteChangedFile(const std::filesystem::path& path) {
    std::error_code fault;
    const char* const question = std::filesystem::exists(path, fault)
                                     ? "Somebody else has changed the settings file. Overwrite it?"
                                     : "The settings file was deleted. Write it anew?";
    return ask(window_, question, displayText(inQuotes(path.string())), QMessageBox::Yes | QMessageBox::Cancel,
               QMessageBox::Cancel) == QMessageBox::Yes;
}

std::optional<std::filesystem::path> SettingsDialogs::fileToLoad() {
    return chosenFile(QFileDialog::getOpenFileName(&window_, "Load Settings", {}, kFileKinds));
}

std::optional<std::filesystem::path> SettingsDialogs::fileToSave() {
    return chosenFile(QFileDialog::getSaveFileName(&window_, "Save Settings", {}, kFileKinds));
}

void SettingsDialogs::hearOfFailure(const Failure& failure) {
    ask(window_, "That did not work.", displayText(failure.reason), QMessageBox::Ok, QMessageBox::Ok);
}

}  // namespace velmora
