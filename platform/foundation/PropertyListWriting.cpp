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
    Result<std::string> document(const PropertyList& value) {
        writeLine(R"(<?xml version="1.0" encoding="UTF-8"?>)", 0);
        writeLine(R"(<plist version="1.0">)", 0);
        write(value, 0);
        writeLine("</plist>", 0);
        if (!outcome_) return outcome_.failure();
        return std::move(xml_);
    }

  private:
    // After the first refusal nothing more is written.
    void refuse(const std::string& reason) {
        if (outcome_) outcome_ = Failure{reason};
    }

    void write(const PropertyList& value, int depth) {
        if (++values_ > kPropertyListValueLimit) {
            refuse(stringWithFormat("the value holds more than %li values", kPropertyListValueLimit));
        }
        if (!outcome_) return;
        if (const ArrayReference items = value.array()) {
            writeContainer("array", depth, [&] {
                for (const PropertyList& item : *items) {
                    write(item, depth + 1);
                }
            });
        } else if (const DictionaryReference entries = value.dictionary()) {
            writeContainer("dict", depth, [&] {
                for (const auto& [key, item] : *entries) {
                    writeText("key", key, depth + 1);
                    write(item, depth + 1);
                }
            });
        } else if (const auto text = value.text()) {
            writeText("string", *text, depth);
        } else if (const auto boolean = value.boolean()) {
            writeLine(*boolean ? "<true/>" : "<false/>", depth);
        } else if (const auto real = value.real()) {
            // The shortest digits that read as the same number, whatever the user's locale.
            char digits[32];
            const auto [end, error] = std::to_chars(std::begin(digits), std::end(digits), *real);
            writeText("real", std::string_view(digits, static_cast<std::size_t>(end - digits)), depth);
        } else {
            writeText("integer", std::to_string(value.integerValue()), depth);
        }
    }

    template <typename WriteItems>
    void writeContainer(const char* type, int depth, WriteItems writeItems) {
        if (depth == kPropertyListDepthLimit) {
            refuse(stringWithFormat("the value is nested more than %li deep, or contains itself",
                                    kPropertyListDepthLimit));
        }
        if (!outcome_) return;
        writeLine(stringWithFormat("<%s>", type), depth);
        writeItems();
        writeLine(stringWithFormat("</%s>", type), depth);
    }

    void writeText(const char* type, std::string_view text, int depth) {
        // A text that is too long need not be escaped first.
        checkLength(xml_.size() + escapedLength(text));
        if (outcome_) writeLine(stringWithFormat("<%s>%@</%s>", type, characterData(text), type), depth);
    }

    void writeLine(std::string_view line, int depth) {
        if (!outcome_) return;
        xml_.append(static_cast<std::size_t>(depth), '\t').append(line) += '\n';
        checkLength(xml_.size());
    }

    void checkLength(std::size_t length) {
        if (length <= kPropertyListByteLimit) return;
        refuse(stringWithFormat("the document would have more than %li bytes", kPropertyListByteLimit));
    }

    std::string xml_;
    Result<void> outcome_;
    std::size_t values_ = 0;
};

}  // namespace

std::string textInPropertyList(std::string_view text) {
    return withCharactersOfXML(text).toStdString();
}

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
