#include "host/SettingsFile.h"

#include <memory>
#include <system_error>
#include <utility>

#include "host/Quotes.h"
#include "host/SettingsCheck.h"
#include "host/SettingsKeys.h"
#include "platform/foundation/FileContents.h"
#include "platform/foundation/FileLock.h"

namespace velmora {

namespace {

// Each writer has the file for itself while it compares and replaces.
constexpr std::chrono::seconds kLockTime{5};

// The plugin does not check the settings that it is given.
Result<PropertyListDocument> settingsInDocument(const std::string& xml) {
    auto document = propertyListDocumentWithXML(xml);
    if (!document) return Failure{"it is no property list: " + document.failure().reason};
    if (const auto faults = faultsOfSettings(document->value); !faults.empty()) return Failure{faults.front()};
    return document;
}

// None when they cannot be written as a document.
std::optional<std::string> documentWithoutAvailableDevices(const DictionaryReference& settings) {
    const DictionaryReference kept = shallowCopy(settings);
    kept->erase(kAvailableDevices);
    Result<std::string> document = XMLWithPropertyList(kept);
    if (!document) return std::nullopt;
    return *std::move(document);
}

}  // namespace

SettingsFile::SettingsFile(std::optional<std::filesystem::path> path)
    : path_(std::move(path)), settings_(std::make_shared<PropertyListDictionary>()) {}

Failure SettingsFile::failure(const std::string& reason) const {
    return {"the settings file " + inQuotes(path_->string()) + ' ' + reason};
}

Result<void> SettingsFile::read() {
    mayWrite_ = false;
    if (!path_) return {};
    std::error_code fault;
    if (std::filesystem::status(*path_, fault).type() == std::filesystem::file_type::not_found) {
        if (std::filesystem::is_symlink(*path_, fault)) return failure("is a link that leads nowhere");
        isMissing_ = true;
        mayWrite_ = true;
        return {};
    }
    // A link stays one, because the file that it leads to will be replaced. What cannot be resolved cannot be read
    // either.
    if (const auto resolved = std::filesystem::canonical(*path_, fault); !fault) path_ = resolved;
    Result<std::string> contents = readFile(*path_, kPropertyListByteLimit);
    if (!contents) return failure("cannot be read: " + contents.failure().reason);
    Result<PropertyListDocument> document = settingsInDocument(*contents);
    if (!document) return failure("cannot be used: " + document.failure().reason);
    settings_ = document->value.dictionary();
    repeatedKeys_ = std::move(document->repeatedKeys);
    contents_ = *std::move(contents);
    mayWrite_ = true;
    return {};
}

void SettingsFile::giveOnly(const DictionaryReference& part) {
    settings_ = part;
    mayWrite_ = false;
}

void SettingsFile::setPluginSettings(const DictionaryReference& settings) {
    known_ = documentWithoutAvailableDevices(settings);
    foreign_ = *settings_;
    std::erase_if(foreign_, [&](const auto& entry) { return valueForKey(settings, entry.first) != nullptr; });
}

bool SettingsFile::isChanged(const DictionaryReference& settings) const {
    const auto document = documentWithoutAvailableDevices(settings);
    return !document || document != known_;
}

Result<void> SettingsFile::writeIfChanged(const DictionaryReference& settings) {
    if (!path_ || !mayWrite_ || !isChanged(settings)) return {};
    const Result<FileLock> lock = FileLock::take(*path_, kLockTime);
    if (!lock) return failure("cannot be written: " + lock.failure().reason);
    if (isChangedOnDisk())
        return failure("was changed by somebody else meanwhile; it is left as it is, without the changes made here");
    return write(settings);
}

Result<void> SettingsFile::write(const DictionaryReference& settings) {
    const DictionaryReference kept = shallowCopy(settings);
    kept->insert(foreign_.begin(), foreign_.end());
    Result<std::string> document = XMLWithPropertyList(kept);
    if (!document) return failure("cannot be written: " + document.failure().reason);
    if (const auto replaced = replaceFile(*path_, *document); !replaced)
        return failure("cannot be written: " + replaced.failure().reason);
    contents_ = *std::move(document);
    isMissing_ = false;
    repeatedKeys_.clear();
    known_ = documentWithoutAvailableDevices(settings);
    return {};
}

bool SettingsFile::isChangedOnDisk() const {
    if (!path_) return false;
    std::error_code fault;
    if (std::filesystem::symlink_status(*path_, fault).type() == std::filesystem::file_type::not_found)
        return contents_.has_value();
    const Result<std::string> now = readFile(*path_, kPropertyListByteLimit);
    return !now || *now != contents_;
}

}  // namespace velmora
