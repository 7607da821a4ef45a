#include "server/FaultPlan.h"

#include <gtest/gtest.h>

namespace velmora {
namespace {

Fault fault(const std::string& text) {
    Fault parsed;
    EXPECT_EQ(parseFault(text, parsed), std::nullopt) << text;
    return parsed;
}

TEST(FaultPlan, RefusesWhatItDoesNotKnowAndNamesWhatIsAllowed) {
    const std::pair<const char*, const char*> table[] = {
        {"", "\"\" is no fault; there are delay, silence, pieces"},
        {"silence=1", "silence takes no argument"},
        {"delay", "delay takes a number from 1 to 600000"},
        {"delay=1s@GET", "not \"1s\""},
        {"silence@get", "\"get\" is no command; there are MATRIXSIZE, GET, SET"},
        {"silence@GET#0", "a number from 1 on, not \"0\""},
        {"mute@GET", "mute is of a whole connection"},
    };
    for (const auto& [text, reason] : table) {
        Fault untouched;
        EXPECT_NE(parseFault(text, untouched).value_or("").find(reason), std::string::npos) << text;
        EXPECT_EQ(untouched.verb, nullptr);
    }
}

TEST(FaultPlan, CountsWhatEachFaultConcernsAndCombinesThoseThatAreDue) {
    FaultPlan plan({fault("delay=20@GET#2"), fault("pieces=3#3"), fault("wrong=A = B@SET"), fault("mute#2")});
    const auto summary = [&](std::string_view line) -> std::string {
        const auto delivery = plan.delivery(line, "1 2");
        if (!delivery) return "usual";
        return delivery->text + std::to_string(delivery->delay.count()) + "/" + std::to_string(delivery->pieceSize);
    };
    EXPECT_EQ(summary("GET 1"), "usual");
    EXPECT_EQ(summary("SET 1 2"), "A = B\r\n0/0");
    EXPECT_EQ(summary("GET 1"), "1 2\r\n20/3");
    EXPECT_EQ(summary("GET 1"), "usual");
    EXPECT_EQ(summary("SETTER"), "usual");
    EXPECT_FALSE(plan.nextConnectionIsMute());
    EXPECT_TRUE(plan.nextConnectionIsMute());
    EXPECT_FALSE(plan.nextConnectionIsMute());
    plan.set({fault("no-accept#2"), fault("delay=7#1")});
    EXPECT_FALSE(plan.acceptingIsHeld());
    EXPECT_FALSE(plan.nextConnectionIsMute());
    EXPECT_TRUE(plan.acceptingIsHeld());
    EXPECT_EQ(summary("rubbish"), "1 2\r\n7/0");
}

}  // namespace
}  // namespace velmora
