#include "platform/foundation/Text.h"

#include <gtest/gtest.h>

#include <limits>

namespace velmora {
namespace {

using namespace std::string_literals;

TEST(Text, formatsThePlaceholdersOfTheSystem) {
    const std::optional<std::string> absent;
    const char* const noText = nullptr;
    constexpr auto smallest = std::numeric_limits<std::int64_t>::min();
    const std::pair<std::string, std::string> cases[] = {
        {stringWithFormat("%04li %@", 3, "Camera 3"), "0003 Camera 3"},
        {stringWithFormat("%04li %@|%@|%@", 12345, absent, noText, std::nullopt), "12345 (null)|(null)|(null)"},
        {stringWithFormat("%04li|%02i|%li", -7, -7, smallest), "-007|-7|-9223372036854775808"},
        {stringWithFormat("SET %i %i", 4294967297, 4294967295), "SET 1 -1"},
        {stringWithFormat("%@ %s %@", 5, "five", "%@"s), "5 five %@"},
        {stringWithFormat("%@\n\r", "MATRIXSIZE"), "MATRIXSIZE\n\r"},
        {stringWithFormat("100%% %d %4li %.2f %", 1), "100% %d %4li %.2f %"},
        {stringWithFormat("%@ %li"), "%@ %li"},
        {stringWithFormat("%@%@", "a"), "a%@"},
        {stringWithFormat("%@", "a\0b"s), "a\0b"s}};
    for (const auto& [formatted, expected] : cases) {
        EXPECT_EQ(formatted, expected);
    }
}

TEST(Text, readsIntegersLeniently) {
    struct Case {
        std::string_view text;
        std::int64_t integer;
        std::int32_t cut;
    };
    constexpr Case cases[] = {{"", 0, 0},
                              {" \t\r\n\v\f 12 3", 12, 12},
                              {"+7x", 7, 7},
                              {"-08", -8, -8},
                              {"+-7", 0, 0},
                              {"--7", 0, 0},
                              {"- 7", 0, 0},
                              {"0x10", 0, 0},
                              {"Camera", 0, 0},
                              {"2147483648", 2147483648, 2147483647},
                              {"-2147483649", -2147483649, -2147483648},
                              {"99999999999999999999", std::numeric_limits<std::int64_t>::max(), 2147483647},
                              {" -99999999999999999999x", std::numeric_limits<std::int64_t>::min(), -2147483648}};
    for (const Case& c : cases) {
        EXPECT_EQ(integerValue(c.text), c.integer) << c.text;
        EXPECT_EQ(intValue(c.text), c.cut) << c.text;
    }
}

TEST(Text, comparesWithoutRegardToCase) {
    // In ascending order; the last ones are characters beyond the first plane, and bytes that are no characters.
    const std::string_view ordered[] = {"", "a", "A B", "ab", "ÄPFEL", "ärger", "\uFF21", "\U0001F600", "\xC0", "\xFF"};
    for (std::size_t l = 0; l < std::size(ordered); ++l) {
        for (std::size_t r = 0; r < std::size(ordered); ++r) {
            const int order = caseInsensitiveCompare(ordered[l], ordered[r]);
            EXPECT_EQ(order < 0, l < r) << ordered[l] << " " << ordered[r];
            EXPECT_EQ(order > 0, l > r) << ordered[l] << " " << ordered[r];
        }
    }
    EXPECT_EQ(caseInsensitiveCompare("Größe Ж", "GRÖßE ж"), 0);
}

TEST(Text, splitsAtASeparator) {
    using Pieces = std::vector<std::string>;
    EXPECT_EQ(componentsSeparatedByString("", " "), Pieces({""}));
    EXPECT_EQ(componentsSeparatedByString("16  8 ", " "), Pieces({"16", "", "8", ""}));
    EXPECT_EQ(componentsSeparatedByString("aXYXYb", "XY"), Pieces({"a", "", "b"}));
    EXPECT_EQ(componentsSeparatedByString("abc", ""), Pieces({"abc"}));
}

TEST(Text, decodesUTF8Strictly) {
    for (const std::string& valid : {""s, "a\0b"s, "\u0080\u07FF\u0800\uD7FF\uE000\uFFFF\U00010000\U0010FFFF"s}) {
        EXPECT_EQ(stringWithUTF8Bytes(valid), valid);
    }
    const std::string_view invalid[] = {"\x80",
                                        "\xC3",
                                        "\xC3(",
                                        "\xC0\x80",
                                        "\xC1\xBF",
                                        "\xE0\x9F\xBF",
                                        "\xF0\x8F\xBF\xBF",
                                        "\xED\xA0\x80",
                                        "\xED\xBF\xBF",
                                        "\xF4\x90\x80\x80",
                                        "\xE2\x82",
                                        "\xF0\x9F\x98",
                                        "\xF0\x9F\x98\x80\x80",
                                        "\xFE",
                                        "\xFF",
                                        "\xF5\x80\x80\x80",
                                        "\xF8\x88\x80\x80\x80"};
    for (const std::string_view bytes : invalid) {
        EXPECT_FALSE(isValidUTF8("ok " + std::string(bytes))) << testing::PrintToString(bytes);
        EXPECT_FALSE(isValidUTF8(std::string(bytes) + "ok")) << testing::PrintToString(bytes);
    }
}

TEST(Text, trimsControlCharactersButNoBlanks) {
    EXPECT_EQ(stringByTrimmingControlCharacters("\r\n\0\x7F\u0085\u200B\uFEFF\u00AD 16 8 \u202E\U000E0001\x1B\n\r"s),
              " 16 8 ");
    EXPECT_EQ(stringByTrimmingControlCharacters("a\tb\u200Bc"), "a\tb\u200Bc");
    EXPECT_EQ(stringByTrimmingControlCharacters("\n\u200E\r"), "");
    EXPECT_EQ(stringByTrimmingControlCharacters(""), "");
    EXPECT_EQ(stringByTrimmingControlCharacters("\u2028\u3000ü\u00A0"), "\u2028\u3000ü\u00A0");
}

TEST(Text, escapesWhatWouldBreakTheLine) {
    EXPECT_EQ(stringByEscapingControlCharacters("a\n\r\t\0\x1B[2J\x7F\\"s), "a\\n\\r\\t\\x00\\x1B[2J\\x7F\\");
    EXPECT_EQ(stringByEscapingControlCharacters("\u0085\u2028\u2029\u202E\U000E0001é\U0001F600"),
              "\\u{0085}\\u{2028}\\u{2029}\\u{202E}\\u{E0001}é\U0001F600");
    EXPECT_EQ(stringByEscapingControlCharacters("\xFFok\xC3"), "\\xFFok\\xC3");
}

}  // namespace
}  // namespace velmora
