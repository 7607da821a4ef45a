// What only a terminal shows: columns, and a Ctrl-C that meets a busy program.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/resource.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <thread>

#include "host/Patience.h"
#include "host/Quotes.h"
#include "host/terminal/TextTable.h"
#include "platform/threads/Interruption.h"
#include "tests/support/Holdings.h"

namespace velmora::test {

TEST(TextTable, countsColumnsAsATerminalDoes) {
    EXPECT_EQ(displayWidth("Caf\u00E9"), 4U);
    EXPECT_EQ(displayWidth("e\u0301"), 1U) << "a combining accent";
    EXPECT_EQ(displayWidth("\u653E\u9001\U0001F3A5"), 6U);
}

TEST(Quotes, ofManyTextsTheFirstAreShown) {
    EXPECT_EQ(firstInQuotes({"a", "b"}), "\"a\", \"b\"");
    const std::string shown = firstInQuotes(std::vector<std::string>(100'000, "x"));
    EXPECT_TRUE(shown.size() < 200 && shown.ends_with(" and 99980 more")) << shown.substr(0, 200);
}

// Before any other that needs a descriptor for signals: it is kept for good.
TEST(Patience, withoutDescriptorsASignalDoesWhatItDidBefore) {
    rlimit limit{};
    ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &limit), 0);
    const rlimit none{0, limit.rlim_max};
    ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &none), 0);
    {
        const Interruption interruption([] {});
        const Patience patience(interruption);
        struct sigaction action {};
        sigaction(SIGINT, nullptr, &action);
        EXPECT_TRUE(interruption.descriptor() == -1 && action.sa_handler == SIG_DFL);
    }
    EXPECT_EQ(setrlimit(RLIMIT_NOFILE, &limit), 0);
}

TEST(Patience, waitsForNobodyWhoReadsStandardError) {
    std::array<int, 2> ends{};
    ASSERT_EQ(pipe2(ends.data(), O_CLOEXEC), 0);
    const std::string page(static_cast<std::size_t>(fcntl(ends[1], F_GETPIPE_SZ)), ' ');
    ASSERT_EQ(write(ends[1], page.data(), page.size()), static_cast<ssize_t>(page.size()));
    const int earlier = dup(STDERR_FILENO);
    dup2(ends[1], STDERR_FILENO);
    {
        const Interruption interruption([] {});
        std::thread([] {}).join();  // with the first one, the thread sanitizer starts one of its own
        const auto before = threads();
        const Patience patience(interruption);
        std::raise(SIGINT);
        bool hasEnded = false;
        for (int i = 0; i < 1000 && !hasEnded; ++i) {  // not in the event loop, which would handle the signal
            poll(nullptr, 0, 10);
            hasEnded = threads() == before;
        }
        EXPECT_TRUE(hasEnded);
        fcntl(ends[0], F_SETFL, O_NONBLOCK);  // room for a thread that does wait, so that the test ends
        std::string read(page.size(), ' ');
        EXPECT_GT(::read(ends[0], read.data(), read.size()), 0);
    }
    dup2(earlier, STDERR_FILENO);
    for (const int descriptor : {earlier, ends[0], ends[1]}) {
        close(descriptor);
    }
}

}  // namespace velmora::test
