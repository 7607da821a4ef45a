#include "platform/foundation/PropertyListScreen.h"

#include <QString>
#include <algorithm>
#include <charconv>
#include <cstdint>
#include <vector>

#include "platform/foundation/PropertyListXML.h"
#include "platform/foundation/Text.h"

namespace velmora {

namespace {

constexpr std::string_view kBlanks = " \t\r\n";

std::string_view trimmed(std::string_view text) {
    const std::size_t begin = text.find_first_not_of(kBlanks);
    if (begin == std::string_view::npos) return {};
    return text.substr(begin, text.find_last_not_of(kBlanks) - begin + 1);
}

// Text as character data. Markup goes into CDATA sections: the library copies those, but resolves references in
// quadratic time.
std::string characterData(std::string_view text) {
    if (text.find_first_of("<&>") == std::string_view::npos) return std::string(text);
    std::string result = "<![CDATA[";
    const std::vector<std::string> pieces = componentsSeparatedByString(text, "]]>");
    for (std::size_t i = 0; i < pieces.size(); ++i) {
        if (i > 0) result += "]]]]><![CDATA[>";
        result += pieces[i];
    }
    return result + "]]>";
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

std::optional<std::string> referencedText(std::string_view reference) {
    if (reference == "lt") return "<";
    if (reference == "gt") return ">";
    if (reference == "amp") return "&";
    if (reference == "quot") return "\"";
    if (reference == "apos") return "'";
    if (!reference.starts_with('#')) return std::nullopt;
    reference.remove_prefix(1);
    const int base = reference.starts_with('x') ? 16 : 10;
    if (base == 16) reference.remove_prefix(1);
    std::uint32_t number = 0;
    const auto [end, error] = std::from_chars(reference.data(), reference.data() + reference.size(), number, base);
    if (error != std::errc() || end != reference.data() + reference.size()) return std::nullopt;
    if (number == 0 || number > 0x10FFFF || (number >= 0xD800 && number <= 0xDFFF)) return std::nullopt;
    const auto character = static_cast<char32_t>(number);
    return QString::fromUcs4(&character, 1).toStdString();
}

// Reads the document once from front to back. Every reading function answers false after a refusal, which then stands
// in `error`.
class Screen {
  public:
    explicit Screen(std::string_view xml) : xml_(xml) {}

    bool readDocument();

    std::string plain = "<plist>";
    std::string error;

  private:
    struct Tag {
        std::string_view name;
        bool closing = false;
        bool empty = false;
        bool hasAttributes = false;
    };
    struct Container {
        bool isDictionary = false;
        bool awaitsValue = false;
    };

    std::string_view rest() const { return xml_.substr(position_); }
    bool atEnd() const { return position_ == xml_.size(); }

    bool refuse(const std::string& reason);
    bool readBytes();
    bool skipPast(std::string_view end, std::string_view what);
    bool skipBetweenElements();
    bool readTag(Tag& tag);
    bool readText(std::string_view name, std::string& text);
    bool readElement(const Tag& tag);
    bool openContainer(const Tag& tag);
    bool closeContainer(const Tag& tag);
    bool readKey(const Tag& tag);
    bool readLeaf(const Tag& tag);
    bool beginValue();

    const std::string_view xml_;
    std::size_t position_ = 0;
    std::vector<Container> containers_;
    std::size_t values_ = 0;
};

bool Screen::refuse(const std::string& reason) {
    const auto line = 1 + std::count(xml_.begin(), xml_.begin() + static_cast<std::ptrdiff_t>(position_), '\n');
    error = stringWithFormat("line %li: %@", line, reason);
    return false;
}

// What concerns the document as bytes.
bool Screen::readBytes() {
    if (xml_.size() > kPropertyListByteLimit) {
        error = stringWithFormat("the document has more than %li bytes", kPropertyListByteLimit);
    } else if (xml_.starts_with("bplist")) {
        error = "the document is a binary property list; only XML is read";
    } else if (xml_.find('\0') != std::string_view::npos) {
        error = "the document contains a zero byte";
    } else if (!isValidUTF8(xml_)) {
        error = "the document is not valid UTF-8";
    }
    return error.empty();
}

bool Screen::readDocument() {
    if (!readBytes()) return false;
    if (rest().starts_with("\xEF\xBB\xBF")) position_ += 3;
    Tag root;
    if (!skipBetweenElements()) return false;
    if (rest().starts_with("<!DOCTYPE")) {
        const std::string_view declaration = rest().substr(0, rest().find('>'));
        if (declaration.find('[') != std::string_view::npos)
            return refuse("declarations of its own are not allowed in the DOCTYPE");
        if (!skipPast(">", "the DOCTYPE") || !skipBetweenElements()) return false;
    }
    if (!readTag(root)) return false;
    if (root.name != "plist" || root.closing || root.empty) return refuse("the document does not begin with <plist>");
    for (;;) {
        Tag tag;
        if (!skipBetweenElements() || !readTag(tag)) return false;
        if (tag.closing && tag.name == "plist" && containers_.empty()) break;
        if (!readElement(tag)) return false;
    }
    if (values_ == 0) return refuse("the document holds no value");
    if (!skipBetweenElements()) return false;
    if (!atEnd()) return refuse("something follows </plist>");
    plain += "</plist>";
    return true;
}

bool Screen::skipPast(std::string_view end, std::string_view what) {
    const std::size_t found = xml_.find(end, position_);
    if (found == std::string_view::npos) return refuse(stringWithFormat("%@ does not end", what));
    position_ = found + end.size();
    return true;
}

// Blanks, comments and processing instructions.
bool Screen::skipBetweenElements() {
    for (;;) {
        position_ = std::min(xml_.find_first_not_of(kBlanks, position_), xml_.size());
        if (rest().starts_with("<!--")) {
            position_ += 4;
            if (!skipPast("-->", "a comment")) return false;
        } else if (rest().starts_with("<?")) {
            if (!skipPast("?>", "a processing instruction")) return false;
        } else {
            return true;
        }
    }
}

bool Screen::readTag(Tag& tag) {
    if (atEnd()) return refuse("the document is cut off");
    if (xml_[position_] != '<') return refuse("there is text where an element is expected");
    const std::size_t end = xml_.find_first_of("<>", position_ + 1);
    if (end == std::string_view::npos || xml_[end] != '>') return refuse("a tag is cut off");
    std::string_view inside = xml_.substr(position_ + 1, end - position_ - 1);
    tag.closing = inside.starts_with('/');
    if (tag.closing) inside.remove_prefix(1);
    tag.empty = !tag.closing && inside.ends_with('/');
    if (tag.empty) inside.remove_suffix(1);
    tag.name = inside.substr(0, inside.find_first_of(kBlanks));
    tag.hasAttributes = !trimmed(inside.substr(tag.name.size())).empty();
    constexpr std::string_view known[] = {"plist",   "dict", "array", "key",  "string",
                                          "integer", "real", "true",  "false"};
    if (std::find(std::begin(known), std::end(known), tag.name) == std::end(known)) {
        return refuse(stringWithFormat("<%@> is no element that is read here",
                                       stringByEscapingControlCharacters(tag.name.substr(0, 40))));
    }
    if (tag.hasAttributes && tag.name != "plist") return refuse(stringWithFormat("<%@> has attributes", tag.name));
    position_ = end + 1;
    return true;
}

// The text up to the element's closing tag, which is read, too.
bool Screen::readText(std::string_view name, std::string& text) {
    for (;;) {
        const std::size_t end = std::min(xml_.find_first_of("<&", position_), xml_.size());
        text.append(xml_, position_, end - position_);
        position_ = end;
        if (rest().starts_with("<!--")) {
            position_ += 4;
            if (!skipPast("-->", "a comment")) return false;
        } else if (rest().starts_with("<![CDATA[")) {
            const std::size_t begin = position_ + 9;
            if (!skipPast("]]>", "a CDATA section")) return false;
            text.append(xml_, begin, position_ - 3 - begin);
        } else if (rest().starts_with('&')) {
            // No reference is longer; a text full of lone ampersands is not searched again and again.
            const std::string_view reference = rest().substr(1, 11);
            const std::size_t length = std::min(reference.find(';'), reference.size());
            const auto character = referencedText(reference.substr(0, length));
            if (!character || length == reference.size()) return refuse("a character reference cannot be read");
            text += *character;
            position_ += length + 2;
        } else {
            Tag tag;
            if (!readTag(tag)) return false;
            if (!tag.closing || tag.name != name) return refuse(stringWithFormat("<%@> is not closed", name));
            return true;
        }
    }
}

bool Screen::readElement(const Tag& tag) {
    if (tag.name == "plist") return refuse("<plist> stands inside the document");
    if (tag.name == "dict" || tag.name == "array") return tag.closing ? closeContainer(tag) : openContainer(tag);
    if (tag.closing) return refuse(stringWithFormat("</%@> closes nothing", tag.name));
    return tag.name == "key" ? readKey(tag) : readLeaf(tag);
}

// Whether a value may stand here.
bool Screen::beginValue() {
    if (++values_ > kPropertyListValueLimit)
        return refuse(stringWithFormat("there are more than %li values", kPropertyListValueLimit));
    if (containers_.empty()) return values_ == 1 || refuse("there is a second value beside the first");
    Container& container = containers_.back();
    if (container.isDictionary && !container.awaitsValue) return refuse("a value has no key");
    container.awaitsValue = false;
    return true;
}

bool Screen::openContainer(const Tag& tag) {
    if (!beginValue()) return false;
    if (containers_.size() == kPropertyListDepthLimit) {
        return refuse(stringWithFormat("values are nested more than %li deep", kPropertyListDepthLimit));
    }
    plain.append("<").append(tag.name).append(">");
    containers_.push_back({.isDictionary = tag.name == "dict"});
    return !tag.empty || closeContainer(tag);
}

bool Screen::closeContainer(const Tag& tag) {
    if (containers_.empty() || containers_.back().isDictionary != (tag.name == "dict")) {
        return refuse(stringWithFormat("</%@> closes nothing", tag.name));
    }
    if (containers_.back().awaitsValue) return refuse("a key has no value");
    containers_.pop_back();
    plain.append("</").append(tag.name).append(">");
    return true;
}

bool Screen::readKey(const Tag& tag) {
    if (containers_.empty() || !containers_.back().isDictionary) return refuse("a key stands outside a dictionary");
    if (containers_.back().awaitsValue) return refuse("a key has no value");
    std::string text;
    if (!tag.empty && !readText(tag.name, text)) return false;
    plain += "<key>" + characterData(text) + "</key>";
    containers_.back().awaitsValue = true;
    return true;
}

bool Screen::readLeaf(const Tag& tag) {
    if (!beginValue()) return false;
    std::string text;
    if (!tag.empty && !readText(tag.name, text)) return false;
    if (tag.name == "string") {
        plain += "<string>" + characterData(text) + "</string>";
    } else if (tag.name == "integer") {
        // Written anew: the library would read leading zeros as octal and wrap what is out of range.
        const auto integer = wholeNumber<std::int64_t>(text);
        if (!integer) return refuse("an integer cannot be read or is out of range");
        plain += stringWithFormat("<integer>%li</integer>", *integer);
    } else if (tag.name == "real") {
        if (!wholeNumber<double>(text)) return refuse("a real number cannot be read or is out of range");
        plain += stringWithFormat("<real>%@</real>", trimmed(text));
    } else {
        if (!trimmed(text).empty()) return refuse(stringWithFormat("<%@> has content", tag.name));
        plain += stringWithFormat("<%@/>", tag.name);
    }
    return true;
}

}  // namespace

std::optional<std::string> plainPropertyListXML(std::string_view xml, std::string& error) {
    Screen screen(xml);
    if (screen.readDocument()) return std::move(screen.plain);
    error = screen.error;
    return std::nullopt;
}

}  // namespace velmora
