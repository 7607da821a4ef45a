#include "host/SettingsFile.h"

#include <memory>
#include <system_error>
#include <utility>

#include "host/Quotes.h"
#include "host/SettingsKeys.h"
#include "platform/foundation/FileContents.h"
#include "platform/foundation/PropertyListXML.h"

namespace velmora {

namespace {

// The plugin does not check the settings that it is given.
Result<DictionaryReference> usableSettings(const PropertyList& value) {
    DictionaryReference settings = value.dictionary();
    if (settings == nullptr) return Failure{"it holds no dictionary"};
    const PropertyList* const name = valueForKey(settings, kSelectedDeviceName);
    if (name != nullptr && !name->text()) return Failure{"\"selectedDeviceName\" is not a text"};
    const PropertyList* const outputs = valueForKey(settings, kConfiguredOutputs);
    if (outputs == nullptr) return settings;
    const ArrayReference entries = outputs->array();
    if (entries == nullptr) return Failure{"\"configuredOutputs\" is not a list"};
    for (std::size_t i = 0; i < entries->size(); ++i) {
        const std::string entry = "entry " + std::to_string(i + 1) + " of \"configuredOutputs\" ";
        const DictionaryReference output = (*entries)[i].dictionary();
        if (output == nullptr) return Failure{entry + "is not a dictionary"};
        if (!textForKey(output, kLabel)) return Failure{entry + "has no \"label\""};
    }
    return settings;
}

Result<DictionaryReference> settingsInDocument(const std::string& document) {
    const auto value = propertyListWithXML(document);
    if (!value) return Failure{"it is no property list: " + value.failure().reason};
    return usableSettings(*value);
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
        isMissing_ = true;
        mayWrite_ = true;
        return {};
    }
    // A link stays one, because the file that it leads to will be replaced. What cannot be resolved cannot be read
    // either.
    if (const auto resolved = std::filesystem::canonical(*path_, fault); !fault) path_ = resolved;
    Result<std::string> contents = readFile(*path_, kPropertyListByteLimit);
    if (!contents) return failure("cannot be read: " + contents.failure().reason);
    Result<DictionaryReference> settings = settingsInDocument(*contents);
    if (!settings) return failure("cannot be used: " + settings.failure().reason);
    settings_ = *std::move(settings);
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
    known_ = documentWithoutAvailableDevices(settings);
    return {};
}

bool SettingsFile::isChangedOnDisk() const {
    if (!path_) return false;
    const Result<std::string> now = readFile(*path_, kPropertyListByteLimit);
    return now ? *now != contents_ : contents_.has_value();
}

}  // namespace velmora
