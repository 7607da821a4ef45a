#include "host/workbench/SettingsDocument.h"

#include <system_error>
#include <utility>

namespace velmora {

SettingsDocument::SettingsDocument(SettingsFile& file, WorkbenchSession& session, Person& person)
    : file_(file), session_(session), person_(person) {}

bool SettingsDocument::load() {
    if (!mayLetGo()) return false;
    const auto path = person_.fileToLoad();
    if (!path) return false;
    SettingsFile loaded(*path);
    std::string error;
    if (!loaded.read(&error)) {
        person_.hearOfFailure(error);
        return false;
    }
    session_.handOver(loaded.settings());
    file_ = std::move(loaded);
    discardChanges();
    return true;
}

bool SettingsDocument::save() {
    if (!file_.path()) return saveAs();
    if (file_.isChangedOnDisk()) {
        if (!person_.mayOverwriteChangedFile(*file_.path())) return false;
    } else if (std::error_code fault; !isUnsaved() && std::filesystem::exists(*file_.path(), fault)) {
        return true;
    }
    std::string error;
    if (file_.write(session_.settings(), &error)) return true;
    person_.hearOfFailure(error);
    return false;
}

// Over a file that holds something else than settings nothing is written.
bool SettingsDocument::saveAs() {
    const auto path = person_.fileToSave();
    if (!path) return false;
    SettingsFile saved(*path);
    std::string error;
    if (!saved.read(&error) || !saved.write(session_.settings(), &error)) {
        person_.hearOfFailure(error);
        return false;
    }
    file_ = std::move(saved);
    return true;
}

bool SettingsDocument::mayLetGo() {
    if (!isUnsaved()) return true;
    switch (person_.whatAboutUnsavedSettings()) {
        case Unsaved::save:
            return save();
        case Unsaved::discard:
            return true;
        case Unsaved::keep:
            break;
    }
    return false;
}

void SettingsDocument::discardChanges() {
    file_.setPluginSettings(session_.settings());
}

}  // namespace velmora
