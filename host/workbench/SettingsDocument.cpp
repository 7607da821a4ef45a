#include "host/workbench/SettingsDocument.h"

#include <QStringList>
#include <algorithm>
#include <system_error>
#include <utility>

#include "host/Quotes.h"
#include "host/SettingsCheck.h"
#include "host/workbench/Words.h"
#include "platform/widgets/DisplayText.h"

namespace velmora {

namespace {

constexpr std::size_t kShownDoubts = 3;

}  // namespace

SettingsDocument::SettingsDocument(SettingsFile& file, WorkbenchSession& session, Person& person)
    : file_(file), session_(session), person_(person) {}

QString SettingsDocument::doubts() const {
    const DictionaryReference settings = session_.settings();
    std::vector<std::string> all = doubtsAboutSettings(settings, file_);
    const auto inputs = session_.numberOfInputs();
    const auto beyond = inputs ? doubtsAboutDefaults(settings, *inputs) : std::vector<std::string>();
    all.insert(all.end(), beyond.begin(), beyond.end());
    if (file_.isMissing()) all.push_back("there is no settings file " + inQuotes(path()->string()) + " yet");
    if (all.empty()) return {};
    QStringList lines{Words::tr("Please check the settings: %1").arg(displayText(all.front()))};
    for (std::size_t i = 1; i < std::min(all.size(), kShownDoubts); ++i) {
        lines << displayText(all[i]);
    }
    if (all.size() > kShownDoubts)
        lines << Words::tr("and %n more", nullptr, static_cast<int>(all.size() - kShownDoubts));
    return lines.join("\n\u2022 ");
}

bool SettingsDocument::load() {
    if (!mayLetGo()) return false;
    const auto path = person_.fileToLoad(folder());
    if (!path) return false;
    SettingsFile loaded(*path);
    if (const auto read = loaded.read(); !read) {
        person_.hearOfFailure(read.failure());
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
    const auto written = file_.write(session_.settings());
    if (!written) person_.hearOfFailure(written.failure());
    return bool(written);
}

// A file that holds something other than settings is not overwritten.
bool SettingsDocument::saveAs() {
    const auto path = person_.fileToSave(folder());
    if (!path) return false;
    SettingsFile saved(*path);
    Result<void> outcome = saved.read();
    saved.setPluginSettings(session_.settings());
    if (outcome) outcome = saved.write(session_.settings());
    if (!outcome) {
        person_.hearOfFailure(outcome.failure());
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
