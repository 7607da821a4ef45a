#include <gtest/gtest.h>

#include <QByteArray>
#include <QTemporaryDir>
#include <cmath>
#include <fstream>
#include <limits>
#include <tuple>

#include "platform/foundation/PropertyListXML.h"
#include "platform/foundation/Text.h"

namespace velmora {
namespace {

namespace fs = std::filesystem;
using namespace std::string_literals;

ArrayReference arrayWith(std::initializer_list<PropertyList> items) {
    return std::make_shared<PropertyListArray>(items);
}

std::string repeated(const char* text, std::size_t times) {
    return QByteArray(text).repeated(static_cast<qsizetype>(times)).toStdString();
}

template <typename... Values>
constexpr bool kTakes = (std::is_convertible_v<Values, PropertyList> && ...);
template <typename... Values>
constexpr bool kTakesOneOf = (std::is_convertible_v<Values, PropertyList> || ...);
enum Enumeration {};
static_assert(kTakes<bool, short, unsigned, long long, std::size_t, float, const char*, std::string_view>);
static_assert(!kTakesOneOf<const QByteArray*, void*, std::nullptr_t, int*, char, char32_t, Enumeration>);

TEST(PropertyList, takesWhatAHostWrites) {
    const DictionaryReference settings = makeDictionary();
    (*settings)["text"] = "Studio";
    (*settings)["count"] = std::size_t{5};
    (*settings)["most"] = std::uint64_t{UINT64_MAX};
    (*settings)["flag"] = true;
    EXPECT_EQ((*settings)["text"].text(), "Studio");
    EXPECT_EQ((*settings)["count"], PropertyList(5));
    EXPECT_EQ((*settings)["most"].integerValue(), INT64_MAX);
    EXPECT_EQ((*settings)["flag"].boolean(), true);
    EXPECT_EQ((*settings)["new"].text(), "");
}

TEST(PropertyList, readsNumbersAsTheSystemDoes) {
    const std::tuple<PropertyList, std::int64_t, std::int32_t> cases[] = {
        {4294967298, 4294967298, 2}, {1e300, INT64_MAX, INT32_MAX},           {-9.3e18, INT64_MIN, INT32_MIN},
        {std::nan(""), 0, 0},        {" 4294967298x", 4294967298, INT32_MAX}, {arrayWith({5}), 0, 0}};
    for (const auto& [value, integer, cut] : cases) {
        EXPECT_EQ(value.integerValue(), integer);
        EXPECT_EQ(value.intValue(), cut);
    }
}

TEST(PropertyListXML, everyValueComesBackFromWritingAndReading) {
    std::string everyCharacter = "\uFEFF\t\n\r\x7F\u0080\u009B\u200F\u2028\uFFFD";
    for (char byte = 32; byte < 127; ++byte) {
        everyCharacter += byte;
    }
    auto dictionary = std::make_shared<PropertyListDictionary>();
    for (const std::string& text : {""s, " "s, "\n"s, "<&>\"'"s, "]]>"s, "]]><&"s, "&lt;&#65;"s, "<![CDATA[x]]>"s,
                                    "é\U0001F600\r\n"s, everyCharacter}) {
        dictionary->emplace(text, text);
        dictionary->emplace("list of " + text, arrayWith({text, text}));
    }
    dictionary->emplace("others", arrayWith({std::numeric_limits<std::int64_t>::min(), 0.1, 5e-324, HUGE_VAL, true,
                                             std::make_shared<PropertyListDictionary>(), arrayWith({})}));
    const auto xml = XMLWithPropertyList(dictionary);
    ASSERT_TRUE(xml) << xml.failure().reason;
    EXPECT_TRUE(xml->ends_with("</plist>\n"));
    // Nothing stands in it that a terminal would obey.
    EXPECT_EQ(componentsSeparatedByString(stringByEscapingControlCharacters(*xml), "\\x").size(), 1u);
    EXPECT_EQ(xml->find("\u200F"), std::string::npos);
    EXPECT_EQ(*propertyListWithXML(*xml), PropertyList(dictionary));
    EXPECT_EQ(*propertyListWithXML(*XMLWithPropertyList("a\0b\xFF\x1B\uFFFF"s)),
              PropertyList("a\uFFFDb\uFFFD\uFFFD\uFFFD"));
}

TEST(PropertyListXML, readsWhatOtherProgramsWrite) {
    const std::string document =
        "\xEF\xBB\xBF"
        R"(<?xml version="1.0" encoding="UTF-8"?>
<!DOCTYPE plist PUBLIC "-//x" "http://x">
<!-- </plist> -->
<plist version='1.0'><dict ><key>a<!-- <b> --></key ><string>&lt;&#65;&#x20AC;<![CDATA[&amp;<x>]]>&apos;</string>
<key/><array><true></true><false/><!-- </array> --><integer> +010 </integer><real>	+2.5e1 </real></array>
<key>twice</key><string/><key>twice</key><dict/><key>)"
        "\x1B"
        R"(<![CDATA[<a:b>]]></key><string>)"
        "\r\n"
        R"(</string></dict></plist><!-- end -->
)";
    auto expected = std::make_shared<PropertyListDictionary>();
    expected->emplace("a", "<A€&amp;<x>'");
    expected->emplace("", arrayWith({true, false, 10, 25.0}));
    expected->emplace("twice", std::make_shared<PropertyListDictionary>());
    expected->emplace("\uFFFD<a:b>", "\n");
    EXPECT_EQ(*propertyListWithXML(document), PropertyList(expected));
    // Cut off anywhere, it is refused.
    for (std::size_t length = 0; length < document.find("</plist><!--") + 8; ++length) {
        EXPECT_NE(propertyListWithXML(document.substr(0, length)).failure().reason, "") << length;
    }
}

TEST(PropertyListXML, refusesDamagedAndHostileDocumentsWithAReason) {
    const auto nested = [](std::size_t depth) { return repeated("<array>", depth) + repeated("</array>", depth); };
    const auto refused = [](const std::string& document, const std::string& reason) {
        const auto read = propertyListWithXML(document);
        const std::string words = read ? "" : read.failure().reason;
        EXPECT_TRUE(!words.empty() && words.find(reason) != words.npos) << words << " for " << document.substr(0, 80);
    };
    // "" for what no XML is: those reasons are the library's words.
    const std::pair<std::string, std::vector<std::string>> bodies[] = {
        {"no value", {"", "<!-- <true/> -->"}},
        {"text where an element", {"text", "<array>x<true/></array>"}},
        {"second value", {"<true/><false/>"}},
        {"integer", {"<integer>9223372036854775808</integer>", "<integer>1a</integer>", "<integer/>"}},
        {"real", {"<real>1e999</real>", "<real>1,5</real>"}},
        {"content", {"<true>x</true>"}},
        {"no element", {"<date>2020-01-01T00:00:00Z</date>", "<data>AAAA</data>", "<plist><true/></plist>"}},
        {"foo", {"<string>&foo;</string>"}},
        {"", {"<string>&#0;</string>", "<string>&#xD800;</string>", "<string>&#27;</string>"}},
        {"", {"<string>& b</string>", "<string>" + repeated("&", 1'000'000) + "</string>"}},
        {"inside", {"<string><true/></string>"}},
        {"", {"<string>a</key>", "<array></dict>", "</array>", "</string>", "<array><!-- </array>"}},
        {"attributes", {"<string x='1'>a</string>"}},
        {"outside", {"<key>a</key>", "<array><key>a</key></array>", "<dict><key>a</key><key>b</key><true/></dict>"}},
        {"key has no value", {"<dict><key>a</key></dict>"}},
        {"has no key", {"<dict><true/></dict>"}},
        {"nested", {nested(65), nested(100'000)}},
        {"values", {"<array>" + repeated("<true/>", kPropertyListValueLimit) + "</array>"}},
        {"UTF-8", {"\n\n<string>\xC0\x80</string>"}},
        {"zero byte", {"<string>a\0b</string>"s}},
        {"bytes", {std::string(kPropertyListByteLimit, ' ')}},
        {"colon",
         {"<a:b/>", "<" + repeated("x", 70'000) + ":b/>", "<true xmlns:x='y'/>", "</x:y>",
          "<dict x='>' a:b='c'></dict>"}}};
    for (const auto& [reason, list] : bodies) {
        for (const std::string& body : list) {
            refused("<plist>" + body + "</plist>", reason);
        }
    }
    std::string attributes;
    for (int i = 0; i < 100'000; ++i) {
        attributes += " a" + std::to_string(i) + "=''";
    }
    refused("<plist" + attributes + "><true/></plist>", "a tag has more than 1024 bytes");
    refused("<?xml version='1.0'" + attributes + "?><plist><true/></plist>", "a tag has more");
    refused("bplist00\xD0", "binary");
    refused("{\"a\":1}", "");
    refused("<true/>", "begin with <plist>");
    refused("<!DOCTYPE plist [<!ENTITY a \"b\">]><plist/>", "DOCTYPE");
    refused("<!DOCTYPE plist SYSTEM \">\" [<!ATTLIST plist c CDATA \"x\">]><plist/>", "DOCTYPE");
    refused("<!DOCTYPE plist PUBLIC 'x' 'y'><plist><string>&foo;</string></plist>", "reference");
    refused("<plist>\n\n<foo/></plist>", "line 3");
    refused("<plist><true/></plist>more", "");
    EXPECT_TRUE(propertyListWithXML("<plist>" + nested(64) + "</plist>"));
    EXPECT_TRUE(propertyListWithXML("<plist><!--" + attributes + "--><string>" + attributes + "</string></plist>"));
    // However much has to be resolved, it takes no time to speak of.
    EXPECT_TRUE(propertyListWithXML("<plist><string>" + repeated("&amp;", 300'000) + "</string></plist>"));
    EXPECT_TRUE(propertyListWithXML("<plist><string>" + repeated("]]&gt;", 200'000) + "</string></plist>"));
}

TEST(PropertyListXML, refusesToWriteWhatCouldNotBeReadAgain) {
    PropertyList deep(1);
    for (int i = 0; i < 65; ++i) {
        deep = arrayWith({deep});
    }
    // Every list holds the one below twice: small in memory, endless on paper.
    PropertyList doubling("x");
    for (int i = 0; i < 60; ++i) {
        doubling = arrayWith({doubling, doubling});
    }
    const std::string wide(kPropertyListByteLimit / 4, '&');
    for (const PropertyList& value : {deep, doubling, PropertyList(wide)}) {
        EXPECT_NE(XMLWithPropertyList(value).failure().reason, "");
    }
}

TEST(PropertyListXML, keepsTheFileOnFailureAndNamesIt) {
    const QTemporaryDir temporary;
    const fs::path folder = temporary.path().toStdString();
    const fs::path file = folder / "settings.plist";
    ASSERT_TRUE(writePropertyListToFile("kept", file));
    EXPECT_FALSE(writePropertyListToFile(std::string(kPropertyListByteLimit, '&'), file));
    EXPECT_EQ(*propertyListWithContentsOfFile(file), PropertyList("kept"));
    const auto nowhere = writePropertyListToFile("x", folder / "missing" / "file");
    EXPECT_NE(nowhere.failure().reason.find("missing/file"), std::string::npos);

    std::ofstream(folder / "damaged") << "<plist>\n<dict>";
    std::ofstream(folder / "large") << std::string(kPropertyListByteLimit + 1, ' ');
    for (const std::string name : {"missing", "", "damaged", "large"}) {
        const auto read = propertyListWithContentsOfFile(folder / name);
        EXPECT_NE(read.failure().reason.find((folder / name).string()), std::string::npos) << name;
    }
}

}  // namespace
}  // namespace velmora
