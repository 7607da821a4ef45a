#include "host/SettingsFile.h"

#include <memory>
#include <system_error>
#include <utility>

#include "host/Console.h"
#include "platform/foundation/FileContents.h"
#include "platform/foundation/PropertyListXML.h"

namespace velmora {

namespace {

// What is wrong with the settings, in words; none when the plugin can be given them. It does not check them itself.
std::optional<std::string> faultOfSettings(const PropertyList& value) {
    const DictionaryReference settings = value.dictionary();
    if (settings == nullptr) return "holds no dictionary";
    const PropertyList* const name = valueForKey(settings, "selectedDeviceName");
    if (name != nullptr && !name->text()) return "\"selectedDeviceName\" is not a text";
    const PropertyList* const outputs = valueForKey(settings, "configuredOutputs");
    if (outputs == nullptr) return std::nullopt;
    const ArrayReference entries = outputs->array();
    if (entries == nullptr) return "\"configuredOutputs\" is not a list";
    for (std::size_t i = 0; i < entries->size(); ++i) {
        const std::string entry = "entry " + std::to_string(i + 1) + " of \"configuredOutputs\" ";
        const DictionaryReference output = (*entries)[i].dictionary();
        if (output == nullptr) return entry + "is not a dictionary";
        if (!textForKey(output, "label")) return entry + "has no \"label\"";
    }
    return std::nullopt;
}

std::optional<std::string> documentWithoutAvailableDevices(const DictionaryReference& settings, std::string* error) {
    const DictionaryReference kept = shallowCopy(settings);
    kept->erase("availableDevices");
    return XMLWithPropertyList(kept, error);
}

// None when there is no file, or none that can be read.
std::optional<std::string> contentsOfFile(const std::filesystem::path& path) {
    Result<std::string> contents = readFile(path, kPropertyListByteLimit);
    if (!contents) return std::nullopt;
    return *std::move(contents);
}

}  // namespace

SettingsFile::SettingsFile(std::optional<std::filesystem::path> path)
    : path_(std::move(path)), settings_(std::make_shared<PropertyListDictionary>()) {}

bool SettingsFile::read(std::string* error) {
    mayWrite_ = false;
    if (!path_) return true;
    // Before the file is read, so that a change between the two shows as one.
    contents_ = contentsOfFile(*path_);
    std::error_code fault;
    const auto status = std::filesystem::status(*path_, fault);
    if (status.type() == std::filesystem::file_type::not_found) {
        mayWrite_ = true;
        return true;
    }
    // A link stays one: the file that it leads to is the one to be replaced. What cannot be resolved cannot be read
    // either.
    if (const auto resolved = std::filesystem::canonical(*path_, fault); !fault) path_ = resolved;
    const auto value = propertyListWithContentsOfFile(*path_, error);
    if (!value) return false;
    if (const auto what = faultOfSettings(*value)) {
        *error = "the settings file " + inQuotes(path_->string()) + " cannot be used: " + *what;
        return false;
    }
    settings_ = value->dictionary();
    mayWrite_ = true;
    return true;
}

void SettingsFile::setPluginSettings(const DictionaryReference& settings) {
    known_ = documentWithoutAvailableDevices(settings, nullptr);
}

bool SettingsFile::isChanged(const DictionaryReference& settings) const {
    const auto document = documentWithoutAvailableDevices(settings, nullptr);
    return !document || document != known_;
}

bool SettingsFile::writeIfChanged(const DictionaryReference& settings, std::string* error) {
    return !path_ || !mayWrite_ || !isChanged(settings) || write(settings, error);
}

bool SettingsFile::write(const DictionaryReference& settings, std::string* error) {
    if (!writePropertyListToFile(settings, *path_, error)) return false;
    contents_ = XMLWithPropertyList(settings);
    setPluginSettings(settings);
    return true;
}

bool SettingsFile::isChangedOnDisk() const {
    return path_ && contentsOfFile(*path_) != contents_;
}

}  // namespace velmora
