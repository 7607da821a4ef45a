// Writing of property lists, within the bounds that reading has.
#include <QString>
#include <charconv>

#include "platform/foundation/FileContents.h"
#include "platform/foundation/PropertyListCharacters.h"
#include "platform/foundation/PropertyListXML.h"
#include "platform/foundation/Text.h"

namespace velmora {

namespace {

// What a terminal would obey instead of showing it, and a carriage return, which would be read as a line feed, are
// written as references: the file can be looked at, and comes back as it was.
std::string reference(char32_t character) {
    if (character == '\t' || character == '\n') return std::string(1, static_cast<char>(character));
    return "&#x" + hexadecimalDigits(character, 1) + ";";
}

// How long the text is at the least with its markup escaped.
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
    // False when the value is beyond the bounds; `fault` then says which.
    bool writeDocument(const PropertyList& value);

    std::string xml;
    std::string fault;

  private:
    bool write(const PropertyList& value, int depth);
    bool writeItems(const PropertyListArray& items, int depth);
    bool writeItems(const PropertyListDictionary& entries, int depth);
    template <typename Items>
    bool writeContainer(const char* type, const Items& items, int depth);
    bool writeText(const char* type, std::string_view text, int depth);
    bool writeLine(std::string_view line, int depth);
    bool refuse(const std::string& reason);
    bool refuseLength();

    std::size_t values_ = 0;
};

bool Writer::refuse(const std::string& reason) {
    fault = reason;
    return false;
}

bool Writer::writeLine(std::string_view line, int depth) {
    xml.append(static_cast<std::size_t>(depth), '\t').append(line) += '\n';
    return xml.size() <= kPropertyListByteLimit || refuseLength();
}

bool Writer::refuseLength() {
    return refuse(stringWithFormat("the document would have more than %li bytes", kPropertyListByteLimit));
}

bool Writer::writeText(const char* type, std::string_view text, int depth) {
    // What is too long need not be escaped first.
    if (xml.size() + escapedLength(text) > kPropertyListByteLimit) return refuseLength();
    return writeLine(stringWithFormat("<%s>%@</%s>", type, characterData(text), type), depth);
}

bool Writer::writeDocument(const PropertyList& value) {
    return writeLine(R"(<?xml version="1.0" encoding="UTF-8"?>)", 0) && writeLine(R"(<plist version="1.0">)", 0) &&
           write(value, 0) && writeLine("</plist>", 0);
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

bool fail(std::string* error, const std::string& reason) {
    if (error != nullptr) *error = reason;
    return false;
}

}  // namespace

std::optional<std::string> XMLWithPropertyList(const PropertyList& value, std::string* error) {
    Writer writer;
    if (writer.writeDocument(value)) return std::move(writer.xml);
    fail(error, writer.fault);
    return std::nullopt;
}

bool writePropertyListToFile(const PropertyList& value, const std::filesystem::path& file, std::string* error) {
    std::string reason;
    const auto xml = XMLWithPropertyList(value, &reason);
    if (!xml) return fail(error, stringWithFormat("%@ cannot be written: %@", file.string(), reason));
    const Result<void> replaced = replaceFile(file, *xml);
    if (!replaced) {
        return fail(error, stringWithFormat("%@ cannot be written: %@", file.string(), replaced.failure().reason));
    }
    return true;
}

}  // namespace velmora
