// The plugin's settings as a document that a person loads and saves. Nothing of them is lost without that person's
// word.
#pragma once

#include <QString>
#include <filesystem>
#include <optional>

#include "host/SettingsFile.h"
#include "host/workbench/WorkbenchSession.h"

namespace velmora {

// Main thread. Needs no window.
class SettingsDocument {
  public:
    enum class Unsaved { save, discard, keep };
    // Whom the document asks; may serve events meanwhile.
    class Person {
      public:
        virtual ~Person() = default;
        virtual Unsaved whatAboutUnsavedSettings() = 0;
        // Somebody else has changed the file since it was read, or deleted it.
        virtual bool mayOverwriteChangedFile(const std::filesystem::path& path) = 0;
        // None: nothing is loaded, or saved.
        virtual std::optional<std::filesystem::path> fileToLoad() = 0;
        virtual std::optional<std::filesystem::path> fileToSave() = 0;
        virtual void hearOfFailure(const Failure& failure) = 0;
    };

    // None is owned; all outlive the document. The file has been read, and its settings are the plugin's.
    SettingsDocument(SettingsFile& file, WorkbenchSession& session, Person& person);

    const std::optional<std::filesystem::path>& path() const { return file_.path(); }
    // What in the settings is probably not meant, a line for each of the first few; "" for nothing.
    QString doubts() const;
    bool isUnsaved() const { return file_.isChanged(session_.settings()); }

    // Hands the settings of a file to the plugin. False when that was not to be, or could not be read; then all is as
    // it was.
    bool load();
    // True when the file has the plugin's settings now. One that has them already is not written.
    bool save();
    // Whether the settings may go, saved or given up.
    bool mayLetGo();
    // From here on the settings count as saved.
    void discardChanges();

  private:
    bool saveAs();

    SettingsFile& file_;
    WorkbenchSession& session_;
    Person& person_;
};

}  // namespace velmora
