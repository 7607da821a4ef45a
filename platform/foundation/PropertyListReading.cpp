// Reading of property lists: a few checks of the bytes, then Qt's reader of XML, then the meaning of the elements.
#include <QString>
#include <QXmlStreamReader>
#include <charconv>

#include "platform/foundation/FileContents.h"
#include "platform/foundation/PropertyListCharacters.h"
#include "platform/foundation/PropertyListXML.h"
#include "platform/foundation/Text.h"

namespace velmora {

namespace {

constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
constexpr std::string_view kBlanks = " \t\r\n";

// Whether a tag holds something that no property list has and that Qt 6.4 is not hardened against: names with a prefix
// (CVE-2023-37369) or declarations of entities (CVE-2023-38197).
bool isHostileTag(std::string_view tag) {
    return tag.find_first_of(":[%") != std::string_view::npos || (tag.starts_with("!") && !tag.starts_with("!DOCTYPE"));
}

// The tag that begins at the position, with its quoted values left out; the position is its end afterwards. No byte is
// looked at by two tags, so that no document takes long.
std::string takeTag(std::string_view xml, std::size_t& at) {
    std::string tag;
    for (++at; at < xml.size() && xml[at] != '>' && xml[at] != '<'; ++at) {
        const char byte = xml[at];
        if (byte == '"' || byte == '\'') at = std::min(xml.find(byte, at + 1), xml.size() - 1);
        tag += byte;
    }
    return tag;
}

Result<void> checkTags(std::string_view xml) {
    const auto past = [xml](std::string_view end, std::size_t from) {
        const std::size_t found = xml.find(end, from);
        return found == std::string_view::npos ? xml.size() : found + end.size();
    };
    for (std::size_t at = xml.find('<'); at < xml.size(); at = xml.find('<', at)) {
        const std::size_t begin = at;
        const std::string_view rest = xml.substr(at);
        if (rest.starts_with("<!--")) {
            at = past("-->", at + 4);
            continue;
        }
        if (rest.starts_with("<![CDATA[")) {
            at = past("]]>", at + 9);
            continue;
        }
        if (rest.starts_with("<?")) {
            at = past("?>", at + 2);
        } else if (isHostileTag(takeTag(xml, at))) {
            return Failure{"declarations in the DOCTYPE and names with a colon are not allowed"};
        }
        if (at - begin > kPropertyListTagLimit)
            return Failure{stringWithFormat("a tag has more than %li bytes", kPropertyListTagLimit)};
    }
    return {};
}

// Whether the bytes may be given to the reader of XML.
Result<void> checkBytes(std::string_view xml) {
    if (xml.size() > kPropertyListByteLimit)
        return Failure{stringWithFormat("the document has more than %li bytes", kPropertyListByteLimit)};
    if (xml.starts_with("bplist")) return Failure{"the document is a binary property list; only XML is read"};
    if (xml.find('\0') != std::string_view::npos) return Failure{"the document contains a zero byte"};
    if (!isValidUTF8(xml)) return Failure{"the document is not valid UTF-8"};
    return checkTags(xml);
}

std::string_view trimmed(std::string_view text) {
    const std::size_t begin = text.find_first_not_of(kBlanks);
    if (begin == std::string_view::npos) return {};
    return text.substr(begin, text.find_last_not_of(kBlanks) - begin + 1);
}

// The number that fills the whole text, blanks and a plus sign aside.
template <typename Number>
std::optional<Number> wholeNumber(std::string_view text) {
    text = trimmed(text);
    if (text.starts_with('+') && !text.starts_with("+-")) text.remove_prefix(1);
    Number number{};
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc() || end != text.data() + text.size()) return std::nullopt;
    return number;
}

// Goes through the document once. After the first fault the reader of XML stands still, and everything that is read is
// empty.
class Reader {
  public:
    explicit Reader(const QString& xml) : xml_(xml) { xml_.setNamespaceProcessing(false); }

    Result<PropertyListDocument> document() {
        if (!nextElement() || !opens(u"plist")) refuse("the document does not begin with <plist>");
        if (!nextElement()) refuse("the document holds no value");
        PropertyList root = value(0);
        if (nextElement()) refuse("there is a second value beside the first");
        while (!xml_.atEnd()) {
            next();
        }
        if (!xml_.hasError()) return PropertyListDocument{std::move(root), std::move(repeatedKeys_)};
        const std::string reason = stringByEscapingControlCharacters(xml_.errorString().left(200).toStdString());
        return Failure{stringWithFormat("line %li: %@", xml_.lineNumber(), reason)};
    }

  private:
    using Token = QXmlStreamReader::TokenType;

    void refuse(const std::string& reason) {
        if (!xml_.hasError()) xml_.raiseError(QString::fromStdString(reason));
    }

    Token next() {
        const Token token = xml_.readNext();
        // The document may have declared it elsewhere; nothing else is fetched to read a document.
        if (token == Token::EntityReference) refuse("a character reference cannot be read");
        return xml_.tokenType();
    }

    // Goes to the next tag; false when it closes the element that is open, or does not come.
    bool nextElement() {
        for (;;) {
            switch (next()) {
                case Token::StartElement:
                    if (xml_.name() != u"plist" && !xml_.attributes().isEmpty()) {
                        refuse(stringWithFormat("<%@> has attributes", name()));
                    }
                    return !xml_.hasError();
                case Token::EndElement:
                case Token::EndDocument:
                case Token::Invalid:
                    return false;
                case Token::Characters:
                    if (!xml_.isWhitespace()) refuse("there is text where an element is expected");
                    break;
                default:
                    break;
            }
        }
    }

    bool opens(QStringView name) const { return xml_.isStartElement() && xml_.name() == name; }
    // Short, and safe to show.
    std::string name() const {
        return stringByEscapingControlCharacters(xml_.name().left(40).toString().toStdString());
    }
    // The value of the element that was opened last; the element is closed afterwards.
    PropertyList value(int depth) {
        if (++values_ > kPropertyListValueLimit) {
            refuse(stringWithFormat("there are more than %li values", kPropertyListValueLimit));
        }
        if (depth == kPropertyListDepthLimit && (opens(u"array") || opens(u"dict"))) {
            refuse(stringWithFormat("values are nested more than %li deep", kPropertyListDepthLimit));
        }
        if (opens(u"array")) return array(depth + 1);
        if (opens(u"dict")) return dictionary(depth + 1);
        if (opens(u"string")) return text();
        if (opens(u"integer")) return number<std::int64_t>("an integer");
        if (opens(u"real")) return number<double>("a real number");
        if (opens(u"true")) return boolean(true);
        if (opens(u"false")) return boolean(false);
        refuse(opens(u"key") ? "a key stands outside a dictionary, or has no value"
                             : stringWithFormat("<%@> is no element that is read here", name()));
        return "";
    }

    PropertyList array(int depth) {
        const ArrayReference items = makeArray();
        while (nextElement()) {
            items->push_back(value(depth));
        }
        return items;
    }

    PropertyList dictionary(int depth) {
        const DictionaryReference entries = makeDictionary();
        while (nextElement()) {
            if (!opens(u"key")) refuse("a value has no key");
            const std::string key = text();
            if (entries->contains(key)) repeatedKeys_.push_back({xml_.lineNumber(), key});
            if (!nextElement()) refuse("a key has no value");
            entries->insert_or_assign(key, value(depth));
        }
        return entries;
    }

    std::string text() {
        QString characters;
        while (next() != Token::EndElement && !xml_.hasError()) {
            if (xml_.isCharacters()) characters += xml_.text();
            if (xml_.isStartElement()) refuse(stringWithFormat("<%@> stands inside a text", name()));
        }
        return characters.toStdString();
    }

    template <typename Number>
    PropertyList number(const char* what) {
        const auto number = wholeNumber<Number>(text());
        if (!number) refuse(stringWithFormat("%@ cannot be read or is out of range", what));
        return number.value_or(0);
    }

    PropertyList boolean(bool value) {
        if (!trimmed(text()).empty()) refuse("a boolean has content");
        return value;
    }

    QXmlStreamReader xml_;
    std::size_t values_ = 0;
    std::vector<PropertyListDocument::RepeatedKey> repeatedKeys_;
};

}  // namespace

Result<PropertyList> propertyListWithXML(std::string_view xml) {
    auto document = propertyListDocumentWithXML(xml);
    if (!document) return document.failure();
    return std::move(document->value);
}

Result<PropertyListDocument> propertyListDocumentWithXML(std::string_view xml) {
    if (const auto checked = checkBytes(xml); !checked) return checked.failure();
    if (xml.starts_with(kByteOrderMark)) xml.remove_prefix(kByteOrderMark.size());
    // A document that declares another encoding is UTF-8 all the same, as property lists are.
    return Reader(withCharactersOfXML(xml)).document();
}

Result<PropertyList> propertyListWithContentsOfFile(const std::filesystem::path& file) {
    const Result<std::string> contents = readFile(file, kPropertyListByteLimit);
    if (!contents) return Failure{stringWithFormat("%@ cannot be read: %@", file.string(), contents.failure().reason)};
    Result<PropertyList> value = propertyListWithXML(*contents);
    if (!value)
        return Failure{stringWithFormat("%@ is not a usable property list: %@", file.string(), value.failure().reason)};
    return value;
}

}  // namespace velmora
