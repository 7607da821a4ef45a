// Text, and the log's lines of it.
#include "platform/foundation/Text.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <thread>

#include "platform/foundation/Descriptor.h"
#include "platform/foundation/NearestWord.h"
#include "tests/support/LogLines.h"

namespace velmora {

using namespace std::string_literals;

TEST(Text, formatsThePlaceholdersOfTheSystem) {
    const std::optional<std::string> absent;
    const std::pair<std::string, std::string> cases[] = {
        {stringWithFormat("%04li %@|%@|%@", 12345, absent, std::nullopt, "a\0b"s), "12345 (null)|(null)|a\0b"s},
        {stringWithFormat("%04li|%02i|%li", -7, -7, INT64_MIN), "-007|-7|-9223372036854775808"},
        {stringWithFormat("SET %i %i\n\r", 4294967297, 4294967295), "SET 1 -1\n\r"},
        {stringWithFormat("%@ %s %@", 5, "five", "%@"s), "5 five %@"},
        {stringWithFormat("%%%i%%%%s%%", 1), "%1%%s%"},
        {stringWithFormat("no argument: 100%%"), "no argument: 100%"}};
    for (const auto& [formatted, expected] : cases) {
        EXPECT_EQ(formatted, expected);
    }
}

TEST(Text, readsIntegersLeniently) {
    const std::tuple<const char*, std::int64_t, std::int32_t> cases[] = {
        {"", 0, 0},
        {" \t\r\n\v\f 12 3", 12, 12},
        {"+7x", 7, 7},
        {"-08", -8, -8},
        {"+-7", 0, 0},
        {"- 7", 0, 0},
        {"0x10", 0, 0},
        {"2147483648", 2147483648, INT32_MAX},
        {"-2147483649", -2147483649, INT32_MIN},
        {"99999999999999999999", INT64_MAX, INT32_MAX},
        {" -99999999999999999999x", INT64_MIN, INT32_MIN}};
    for (const auto& [text, integer, cut] : cases) {
        EXPECT_EQ(integerValue(text), integer) << text;
        EXPECT_EQ(intValue(text), cut) << text;
    }
}

TEST(Text, comparesWithoutRegardToCase) {
    // In ascending order; the last ones are characters beyond the first plane, and bytes that are no characters.
    const std::string_view ordered[] = {"", "a", "A B", "ab", "ÄPFEL", "ärger", "\uFF21", "\U0001F600", "\xC0", "\xFF"};
    for (std::size_t i = 1; i < std::size(ordered); ++i) {
        EXPECT_LT(caseInsensitiveCompare(ordered[i - 1], ordered[i]), 0) << ordered[i];
        EXPECT_GT(caseInsensitiveCompare(ordered[i], ordered[i - 1]), 0) << ordered[i];
    }
    EXPECT_EQ(caseInsensitiveCompare("Größe Ж", "GRÖßE ж"), 0);
}

TEST(Text, decodesUTF8Strictly) {
    for (const std::string& valid : {""s, "a\0b"s, "\u0080\u07FF\u0800\uD7FF\uE000\uFFFF\U00010000\U0010FFFF"s}) {
        EXPECT_EQ(stringWithUTF8Bytes(valid), valid);
    }
    for (const std::string bytes :
         {"\x80", "\xC3", "\xC3(", "\xC0\x80", "\xC1\xBF", "\xE0\x9F\xBF", "\xF0\x8F\xBF\xBF", "\xED\xA0\x80",
          "\xED\xBF\xBF", "\xF4\x90\x80\x80", "\xE2\x82", "\xF0\x9F\x98", "\xF0\x9F\x98\x80\x80", "\xFE", "\xFF",
          "\xF5\x80\x80\x80", "\xF8\x88\x80\x80\x80"}) {
        EXPECT_FALSE(isValidUTF8("ok " + bytes)) << testing::PrintToString(bytes);
        EXPECT_FALSE(isValidUTF8(bytes + "ok")) << testing::PrintToString(bytes);
    }
}

TEST(Text, trimsAndEscapesControlCharacters) {
    EXPECT_EQ(stringByTrimmingControlCharacters("\r\n\0\x7F\u0085\u200B\uFEFF\u00AD 16\t8 \u202E\U000E0001\x1B\n\r"s),
              " 16\t8 ");
    EXPECT_EQ(stringByTrimmingControlCharacters("\n\u200E\r"), "");
    EXPECT_EQ(stringByTrimmingControlCharacters("\u2028\u3000ü\u00A0"), "\u2028\u3000ü\u00A0");
    EXPECT_EQ(stringByEscapingControlCharacters("a\n\r\t\0\x1B[2J\x7F\\"s), "a\\n\\r\\t\\x00\\x1B[2J\\x7F\\");
    EXPECT_EQ(stringByEscapingControlCharacters("\u0085\u2028\u2029\u202E\U000E0001é\xFFok\xC3"),
              "\\u{0085}\\u{2028}\\u{2029}\\u{202E}\\u{E0001}é\\xFFok\\xC3");
}

TEST(NSLog, oneCallIsOneLineForObserversAndStandardError) {
    test::LogLines log;
    testing::internal::CaptureStderr();
    NSLogMirrorToStandardError(true);
    NSLog("Selecting matrix switcher with name: %@", "evil\nname\x1B[2J");
    NSLogMirrorToStandardError(false);
    NSLogLine("only for observers: %s%n");
    const std::string expected = "Selecting matrix switcher with name: evil\\nname\\x1B[2J";
    EXPECT_EQ(log.lines(), (std::vector<std::string>{expected, "only for observers: %s%n"}));
    EXPECT_EQ(testing::internal::GetCapturedStderr(), expected + "\n");
}

TEST(NSLog, waitsForNobodyWhoDoesNotReadStandardError) {
    const test::LogLines log;
    const Descriptor terminal(posix_openpt(O_RDWR | O_NOCTTY));
    int ends[2];
    ASSERT_TRUE(grantpt(terminal.number()) == 0 && unlockpt(terminal.number()) == 0 && pipe(ends) == 0);
    const Descriptor standardError(dup(STDERR_FILENO));
    NSLogMirrorToStandardError(true);
    for (const int unread : {open(ptsname(terminal.number()), O_RDWR | O_NOCTTY), ends[1]}) {
        dup2(unread, STDERR_FILENO);
        close(unread);
        for (int i = 0; i < 2000; ++i) {
            NSLog("one of many lines, more than fit into what a pipe or a terminal keeps: %i", i);
        }
        EXPECT_EQ(fcntl(STDERR_FILENO, F_GETFL) & O_NONBLOCK, 0) << "everybody who has the descriptor would see that";
    }
    // A line that was cut short is ended before the next one; a reader that goes ends nobody.
    std::string taken(1 << 20, ' ');
    ASSERT_GT(read(ends[0], taken.data(), taken.size()), 0);
    NSLogLine(std::string(taken.size(), 'x'));
    ASSERT_GT(read(ends[0], taken.data(), taken.size()), 0);
    NSLog("next");
    taken.resize(static_cast<std::size_t>(read(ends[0], taken.data(), taken.size())));
    EXPECT_EQ(taken, "\nnext\n");
    close(ends[0]);
    NSLog("nobody reads");
    NSLogMirrorToStandardError(false);
    dup2(standardError.number(), STDERR_FILENO);
    EXPECT_EQ(log.lines().size(), 4003u);
}

TEST(NearestWord, findsWhatWasMistyped) {
    const std::string_view known[] = {"name", "inputs", "interface", "in", "x"};
    const std::pair<std::string, std::optional<std::string>> table[] = {{"nmae", "name"},
                                                                        {"input", "inputs"},
                                                                        {"inter", "interface"},
                                                                        {"interfcae", "interface"},
                                                                        {"on", "in"},
                                                                        {"", {}},
                                                                        {"y", {}},
                                                                        {"output", {}},
                                                                        {"interfacesss", "interface"},
                                                                        {"inputsssss", {}},
                                                                        {std::string(1 << 20, 'i'), {}}};
    for (const auto& [typed, nearest] : table) {
        EXPECT_EQ(nearestWord(typed, known), nearest) << typed.substr(0, 20);
    }
}

TEST(NSLog, observersSeeTheLinesOfAllThreadsOneAtATime) {
    int briefly = 0;
    const test::LogLines log;
    std::vector<std::jthread> writers;
    for (int writer = 0; writer < 4; ++writer) {
        writers.emplace_back([&briefly] {
            for (int i = 0; i < 50; ++i) {
                // Counts without a lock: the observers of several threads must not run at once.
                const NSLogObservation observation([&briefly](const std::string&) { ++briefly; });
                NSLog("line %i", i);
            }
        });
    }
    writers.clear();
    EXPECT_EQ(log.lines().size(), 200u);
    EXPECT_EQ(log.count("line 49"), 4);
    EXPECT_GE(briefly, 200);
}

}  // namespace velmora
