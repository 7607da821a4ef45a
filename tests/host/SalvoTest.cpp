#include <gtest/gtest.h>

#include "host/Salvo.h"

namespace velmora::test {

TEST(Salvo, isReadWithTheNamesOfTheAttributes) {
    const auto isName = [](const std::string& name) {
        return name == "A" || name == "B=C" || name == "B=C=D" || name.empty();
    };
    const auto stepIn = [&](const std::string& line) { return stepInLine(line, isName); };
    const std::vector<std::pair<std::string, Salvo>> documents = {
        {"", {}},
        {"\xEF\xBB\xBF# none\n \t\r\nA=0001 x\r\nA= =y= ", {{"A", "0001 x"}, {"A", " =y= "}}},
        {" A = 1\n \n", {{"A", " 1"}}},
        {"B=C=E=F\n=\nA=\u202Ex\u200D", {{"B=C", "E=F"}, {"", ""}, {"A", "\u202Ex\u200D"}}},
    };
    for (const auto& [document, salvo] : documents) {
        const auto read = salvoInDocument(document, stepIn);
        ASSERT_TRUE(read) << read.failure().reason;
        EXPECT_EQ(*read, salvo);
        const auto written = documentWithSalvo(salvo);
        EXPECT_EQ(*salvoInDocument(*written, stepIn), salvo);
    }
    const std::vector<std::pair<std::string, const char*>> mistakes = {
        {"A=1\n\nX=Y=2", "line 3: there is no attribute \"X\", \"X=Y\""},
        {"B=C=D=1", "line 1: it may mean each of the attributes \"B=C\", \"B=C=D\""},
        {"#\nA", "line 2: NAME=VALUE is wanted"},
        {"A=\t1", "line 1: there is a control character in it"},
        {"A=1\nA=\u009B2", "line 2: there is a control character in it"},
        {"A=\xFF", "line 1: it is not UTF-8"},
        {std::string(kSalvoByteLimit + 1, '\n'), "it is longer than 4194304 bytes"},
    };
    for (const auto& [document, reason] : mistakes) {
        const auto read = salvoInDocument(document, stepIn);
        ASSERT_FALSE(read);
        EXPECT_EQ(read.failure().reason, reason);
    }
    std::string many;
    for (std::size_t i = 0; i <= kMaximumSalvoSteps; ++i) {
        many += "A=1\n";
    }
    EXPECT_EQ(salvoLines(many).failure().reason, "line 10001: no more than 10000 steps are taken");
    for (const SalvoStep& step : {SalvoStep{"A\n", "1"}, {"#A", "1"}, {"A", "\x1B"}}) {
        EXPECT_FALSE(documentWithSalvo({step}));
    }
}

}  // namespace velmora::test
