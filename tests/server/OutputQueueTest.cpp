// What the server prints, to whom does not take it.
#include "server/OutputQueue.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>

#include <QTemporaryDir>
#include <csignal>

#include "platform/foundation/Descriptor.h"
#include "platform/foundation/FileContents.h"
#include "tests/support/MainLoop.h"

namespace velmora::test {
namespace {

TEST(OutputQueue, endsAlthoughATerminalTakesNothing) {
    const Descriptor terminal(posix_openpt(O_RDWR | O_NOCTTY));
    ASSERT_TRUE(grantpt(terminal.number()) == 0 && unlockpt(terminal.number()) == 0);
    const Descriptor unread(open(ptsname(terminal.number()), O_RDWR | O_NOCTTY | O_CLOEXEC));
    OutputQueue queue(unread.number());
    for (int line = 0; line < 2000; ++line) {
        queue.add("one of many lines, more than fit into what a terminal keeps");
    }
}

TEST(OutputQueue, endsALineThatAFullDiskCutBeforeTheNext) {
    const QTemporaryDir folder;
    const std::filesystem::path file = folder.filePath("output").toStdString();
    rlimit before{};
    getrlimit(RLIMIT_FSIZE, &before);
    const rlimit five{5, before.rlim_max};
    const auto signalBefore = std::signal(SIGXFSZ, SIG_IGN);
    for (int round = 0; round < 20; ++round) {
        const Descriptor output(open(file.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600));
        {
            OutputQueue queue(output.number());
            setrlimit(RLIMIT_FSIZE, &five);
            queue.add("0123456789");
            EXPECT_TRUE(runMainLoopUntil([&] { return std::filesystem::file_size(file) == 5; }));
            setrlimit(RLIMIT_FSIZE, &before);
            queue.add("next");
        }
        // Where the disk had room again at once, nothing was cut.
        const std::string written = *readFile(file, 100);
        EXPECT_TRUE(written == "01234\nnext\n" || written == "0123456789\nnext\n") << written;
    }
    std::signal(SIGXFSZ, signalBefore);
}

}  // namespace
}  // namespace velmora::test
