#include "host/workbench/SettingsDialogs.h"

#include <QDateTime>
#include <QFileDialog>
#include <QMessageBox>
#include <system_error>

#include "host/PluginHost.h"
#include "host/Quotes.h"
#include "host/workbench/Words.h"
#include "platform/foundation/QtText.h"
#include "platform/widgets/DisplayText.h"

namespace velmora {

namespace {

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
    switch (ask(window_, Words::tr("The plugin's settings have changed. Save them?"),
                Words::tr("Changes that are not saved are lost."),
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
    const QString question = std::filesystem::exists(path, fault)
                                 ? Words::tr("Somebody else has changed the settings file. Overwrite it?")
                                 : Words::tr("The settings file was deleted. Write it anew?");
    return ask(window_, question, displayText(inQuotes(path.string())), QMessageBox::Yes | QMessageBox::Cancel,
               QMessageBox::Cancel) == QMessageBox::Yes;
}

std::optional<std::filesystem::path> SettingsDialogs::fileToLoad(const std::filesystem::path& folder) {
    return chosenFile(QFileDialog::getOpenFileName(&window_, Words::tr("Load Settings"), qString(folder.string()),
                                                   Words::tr("Property lists (*.plist);;All files (*)")));
}

std::optional<std::filesystem::path> SettingsDialogs::fileToSave(const std::filesystem::path& folder) {
    return chosenFile(QFileDialog::getSaveFileName(&window_, Words::tr("Save Settings"), qString(folder.string()),
                                                   Words::tr("Property lists (*.plist);;All files (*)")));
}

std::optional<std::filesystem::path> SettingsDialogs::fileForHistory(const std::filesystem::path& folder) {
    const QString name = "routes-" + QDateTime::currentDateTime().toString("yyyy-MM-dd-HHmmss") + ".csv";
    return chosenFile(QFileDialog::getSaveFileName(&window_, Words::tr("Save History"),
                                                   qString((folder / name.toStdString()).string()),
                                                   Words::tr("Comma-separated values (*.csv);;All files (*)")));
}

bool SettingsDialogs::mayRouteDefaults(const QString& question, int destinations) {
    const QString details = Words::tr(
        "The plugin connects anew and then routes all %n destinations to their defaults, over the operator's routes.",
        nullptr, destinations);
    return ask(window_, question, details, QMessageBox::Yes | QMessageBox::Cancel, QMessageBox::Cancel) ==
           QMessageBox::Yes;
}

bool SettingsDialogs::mayStartWithDefaults() {
    const QString details = Words::tr("The plugin connects anew, and then %1.").arg(Words::tr(kWhatDefaultsDo));
    return ask(window_, Words::tr("Start the plugin with defaults?"), details, QMessageBox::Yes | QMessageBox::Cancel,
               QMessageBox::Cancel) == QMessageBox::Yes;
}

bool SettingsDialogs::mayDisarm(const QString& cost) {
    const QString details =
        Words::tr("The plugin connects anew; until then nothing can be routed from here. Routes stay as they are.") +
        (cost.isEmpty() ? cost : ' ' + cost);
    return ask(window_, Words::tr("Restart the plugin without defaults?"), details,
               QMessageBox::Yes | QMessageBox::Cancel, QMessageBox::Yes) == QMessageBox::Yes;
}

void SettingsDialogs::hearOfFailure(const Failure& failure) {
    ask(window_, Words::tr("The file could not be used."), displayText(failure.reason), QMessageBox::Ok,
        QMessageBox::Ok);
}

}  // namespace velmora
