// Writing of property lists, within the bounds that reading has.
#include <QString>
#include <charconv>

#include "platform/foundation/FileContents.h"
#include "platform/foundation/PropertyListCharacters.h"
#include "platform/foundation/PropertyListXML.h"
#include "platform/foundation/Text.h"

namespace velmora {

namespace {

// Characters that a terminal would obey instead of showing them are written as references, so that the file can be
// looked at; so is a carriage return, which would be read as a line feed.
std::string reference(char32_t character) {
    if (character == '\t' || character == '\n') return std::string(1, static_cast<char>(character));
    return "&#x" + hexadecimalDigits(character, 1) + ";";
}

// The least length of the text with its markup escaped.
std::size_t escapedLength(std::string_view text) {
    std::size_t length = 0;
    for (const char byte : text) {
        length += byte == '&' ? 5 : byte == '<' || byte == '>' ? 4 : 1;
    }
    return length;
}

std::string characterData(std::string_view text) {
    QString data = withCharactersOfXML(text);
    data.replace('&', "&amp;").replace('<', "&lt;").replace('>', "&gt;");
    return stringByReplacingControlCharacters(data.toStdString(), reference);
}

class Writer {
  public:
    Result<std::string> document(const PropertyList& value);

  private:
    // Each answers false, and has set the failure, when the value is beyond the bounds.
    bool write(const PropertyList& value, int depth);
    bool writeItems(const PropertyListArray& items, int depth);
    bool writeItems(const PropertyListDictionary& entries, int depth);
    template <typename Items>
    bool writeContainer(const char* type, const Items& items, int depth);
    bool writeText(const char* type, std::string_view text, int depth);
    bool writeLine(std::string_view line, int depth);
    bool refuse(const std::string& reason);
    bool refuseLength();

    std::string xml_;
    Failure failure_;
    std::size_t values_ = 0;
};

bool Writer::refuse(const std::string& reason) {
    failure_ = {reason};
    return false;
}

bool Writer::writeLine(std::string_view line, int depth) {
    xml_.append(static_cast<std::size_t>(depth), '\t').append(line) += '\n';
    return xml_.size() <= kPropertyListByteLimit || refuseLength();
}

bool Writer::refuseLength() {
    return refuse(stringWithFormat("the document would have more than %li bytes", kPropertyListByteLimit));
}

bool Writer::writeText(const char* type, std::string_view text, int depth) {
    // A text that is too long need not be escaped first.
    if (xml_.size() + escapedLength(text) > kPropertyListByteLimit) return refuseLength();
    return writeLine(stringWithFormat("<%s>%@</%s>", type, characterData(text), type), depth);
}

Result<std::string> Writer::document(const PropertyList& value) {
    if (writeLine(R"(<?xml version="1.0" encoding="UTF-8"?>)", 0) && writeLine(R"(<plist version="1.0">)", 0) &&
        write(value, 0) && writeLine("</plist>", 0)) {
        return std::move(xml_);
    }
    return failure_;
}

bool Writer::write(const PropertyList& value, int depth) {
    if (++values_ > kPropertyListValueLimit) {
        return refuse(stringWithFormat("the value holds more than %li values", kPropertyListValueLimit));
    }
    if (const ArrayReference items = value.array()) return writeContainer("array", *items, depth);
    if (const DictionaryReference entries = value.dictionary()) return writeContainer("dict", *entries, depth);
    if (const auto text = value.text()) return writeText("string", *text, depth);
    if (const auto boolean = value.boolean()) return writeLine(*boolean ? "<true/>" : "<false/>", depth);
    if (const auto real = value.real()) {
        // The shortest digits that read as the same number, whatever the user's locale.
        char digits[32];
        const auto [end, error] = std::to_chars(std::begin(digits), std::end(digits), *real);
        return writeText("real", std::string_view(digits, static_cast<std::size_t>(end - digits)), depth);
    }
    return writeText("integer", std::to_string(value.integerValue()), depth);
}

template <typename Items>
bool Writer::writeContainer(const char* type, const Items& items, int depth) {
    if (depth == kPropertyListDepthLimit) {
        return refuse(
            stringWithFormat("the value is nested more than %li deep, or contains itself", kPropertyListDepthLimit));
    }
    return writeLine(stringWithFormat("<%s>", type), depth) && writeItems(items, depth + 1) &&
           writeLine(stringWithFormat("</%s>", type), depth);
}

bool Writer::writeItems(const PropertyListArray& items, int depth) {
    for (const PropertyList& item : items) {
        if (!write(item, depth)) return false;
    }
    return true;
}

bool Writer::writeItems(const PropertyListDictionary& entries, int depth) {
    for (const auto& [key, value] : entries) {
        if (!writeText("key", key, depth) || !write(value, depth)) return false;
    }
    return true;
}

}  // namespace

Result<std::string> XMLWithPropertyList(const PropertyList& value) {
    return Writer().document(value);
}

Result<void> writePropertyListToFile(const PropertyList& value, const std::filesystem::path& file) {
    const Result<std::string> xml = XMLWithPropertyList(value);
    const Result<void> written = xml ? replaceFile(file, *xml) : xml.failure();
    if (!written) return Failure{stringWithFormat("%@ cannot be written: %@", file.string(), written.failure().reason)};
    return {};
}

}  // namespace velmora
