// The plugin's settings as a document that a person loads and saves. Nothing is lost unless that person agrees.
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
    // The person whom the document asks. Events may be served meanwhile.
    class Person {
      public:
        virtual ~Person() = default;
        virtual Unsaved whatAboutUnsavedSettings() = 0;
        // Somebody else has changed the file since it was read, or deleted it.
        virtual bool mayOverwriteChangedFile(const std::filesystem::path& path) = 0;
        // None: nothing is loaded, or saved. The person begins to look in that folder; "" for none.
        virtual std::optional<std::filesystem::path> fileToLoad(const std::filesystem::path& folder) = 0;
        virtual std::optional<std::filesystem::path> fileToSave(const std::filesystem::path& folder) = 0;
        virtual void hearOfFailure(const Failure& failure) = 0;
    };

    // None is owned; all outlive the document. The file has been read, and its settings are the plugin's.
    SettingsDocument(SettingsFile& file, WorkbenchSession& session, Person& person);

    const std::optional<std::filesystem::path>& path() const { return file_.path(); }
    // What is probably a mistake in the settings, a line for each of the first few; "" for nothing.
    QString doubts() const;
    bool isUnsaved() const { return file_.isChanged(session_.settings()); }

    // Hands the settings of a file to the plugin. False when the person decided otherwise or the file could not be
    // read; nothing has changed then.
    bool load();
    // Whether the file has the plugin's settings now. A file that had them already is not written.
    bool save();
    // The same in a file that the person chooses, which is the document's from then on.
    bool saveAs();
    // That of the file; "" for none.
    std::filesystem::path folder() const { return path() ? path()->parent_path() : std::filesystem::path(); }
    // Whether the settings may be replaced, because they are saved or the person gives them up.
    bool mayLetGo();
    // From here on the settings count as saved.
    void discardChanges();

  private:
    SettingsFile& file_;
    WorkbenchSession& session_;
    Person& person_;
};

}  // namespace velmora
