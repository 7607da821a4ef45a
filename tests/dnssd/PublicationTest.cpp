// What becomes of an announcement that somebody else disputes, without a daemon, on `lo`.
#include <gtest/gtest.h>

#include <QTemporaryDir>
#include <filesystem>
#include <fstream>

#include "tests/dnssd/RawAnnouncer.h"
#include "tests/support/ChildProcess.h"
#include "tests/support/ServiceWatch.h"

namespace velmora::test {
namespace {

using Strings = std::vector<std::string>;

TEST(Publication, anAnnouncedNameIsLostOnlyToSomebodyWhoDefendsIt) {
    const RawAnnouncer::Labels router{"Router", "_matrixswitcher", "_tcp", "local"}, other{"other", "local"};
    ServiceWatch watcher;
    ChildProcess server({VELMORA_SWITCH_SERVER, "--name", "Router"});
    ASSERT_TRUE(watcher.waitForEvents(2));
    const auto addresses = [&] { return ServiceWatch::addressesOf(*watcher.services.at("Router")); };
    const Strings elsewhere{"10.0.0.9:9"}, atHome = addresses();
    // The first packet has the owner ask whether the name is still free, the next meets it asking.
    RawAnnouncer announcer;
    const auto dispute = [&] {
        for (int packets = 0; packets < 2; ++packets) {
            announcer.location(router, other, 9).address(other, {10, 0, 0, 9}).send();
        }
    };
    dispute();
    ASSERT_TRUE(runMainLoopUntil([&] { return addresses() == elsewhere; }));
    ASSERT_TRUE(runMainLoopUntil([&] { return addresses() == atHome || watcher.services.contains("Router #2"); }));
    EXPECT_FALSE(watcher.services.contains("Router #2"));

    EXPECT_TRUE(runMainLoopUntil([&] {
        dispute();
        return watcher.services.contains("Router #2");
    }));
}

// A copy of the server as it is installed, whose velmora-mdns is this script.
TEST(Publication, aServerWaitsForItsProgramWhereItCanBeStarted) {
    namespace fs = std::filesystem;
    const fs::path built = fs::path(VELMORA_SWITCH_SERVER).parent_path().parent_path();
    const QTemporaryDir folder;
    const fs::path copy = folder.path().toStdString();
    fs::create_directories(copy / "lib/velmora");
    fs::create_directory(copy / "bin");
    fs::copy(VELMORA_SWITCH_SERVER, copy / "bin");
    fs::copy(built / "lib/libvelmora-platform.so", copy / "lib");
    fs::copy(built / "lib/velmora/velmora-mdns", copy / "lib/velmora/real");
    // The library is found by a relative path, which is resolved all the same.
    const auto server = [&] {
        return std::make_unique<ChildProcess>(std::vector<std::string>{
            "/bin/sh", "-c", "cd \"$0\" && LD_LIBRARY_PATH=lib exec bin/velmora-switch-server", copy});
    };
    EXPECT_NE(server()->errorLine().find("velmora/velmora-mdns cannot be started: No such file"), std::string::npos);

    const fs::path program = copy / "lib/velmora/velmora-mdns";
    std::ofstream(program) << "#!/bin/sh\ncd \"${0%/*}\"; [ -e died ] && exec ./real; : > died\n";
    fs::permissions(program, fs::perms::owner_all);
    const auto waits = server();
    EXPECT_NE(waits->outputLineWith("announced as "), "");
    EXPECT_TRUE(fs::exists(copy / "lib/velmora/died"));
}

}  // namespace
}  // namespace velmora::test
