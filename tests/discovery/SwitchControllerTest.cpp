// The list of servers as services come and go, and the selection.
#include <gtest/gtest.h>

#include "discovery/VelmoraSwitchController.h"
#include "tests/dnssd/RawAnnouncer.h"
#include "tests/support/LogLines.h"
#include "tests/support/PublishedService.h"

namespace velmora::test {
namespace {

struct Plugin : VelmoraSwitchControllerDelegate {
    Strings events;
    void newMatrixSwitcherWithNameDidBecomeAvailable(const std::string& name) override { events.push_back("+" + name); }
    void matrixSwitcherWithNameDidDisappear(const std::string& name) override { events.push_back("-" + name); }
    void matrixDimensionsChangedTo(MatrixSwitcher&, NSSize) override {}
};

class SwitchController : public testing::Test {
  protected:
    static std::shared_ptr<NSNetService> service(const std::string& name, const std::string& domain = "local.") {
        return std::make_shared<NSNetService>(domain, "_matrixswitcher._tcp.", name);
    }
    void find(const std::shared_ptr<NSNetService>& found) {
        controller->netServiceBrowserDidFindServiceMoreComing(browser, found, false);
    }
    void remove(const std::shared_ptr<NSNetService>& gone) {
        controller->netServiceBrowserDidRemoveServiceMoreComing(browser, gone, false);
    }
    Strings names() const {
        Strings all;
        for (const auto& server : controller->serversArray()) {
            all.push_back(server->serverName().value_or("none"));
        }
        return all;
    }

    Plugin plugin;
    const std::shared_ptr<VelmoraSwitchController> controller = std::make_shared<VelmoraSwitchController>(&plugin);
    NSNetServiceBrowser browser;
};

TEST_F(SwitchController, keepsOneRecordForEachServiceAndDropsTheUnused) {
    for (const char* name : {"a", "b", "c"}) {
        find(service(name));
    }
    controller->netServiceDidNotResolve(*service("b"));
    EXPECT_EQ(plugin.events, Strings{});  // told when resolved
    find(service("b"));
    find(service("b", "elsewhere."));
    EXPECT_EQ(names(), (Strings{"a", "b", "c", "b"}));
    EXPECT_EQ(controller->indexOfServerForName("b"), 1);
    EXPECT_EQ(controller->indexOfServerForName("B"), -1);
    EXPECT_EQ(controller->indexOfServerForNetService(*service("b", "elsewhere.")), 3);
    EXPECT_EQ(plugin.events, (Strings{"+b"}));

    plugin.events.clear();
    const auto kept = controller->serversArray()[0];
    kept->registerClient(std::make_shared<NSObject>());
    remove(service("unknown"));
    remove(service("a"));
    EXPECT_FALSE(kept->isPresent());
    remove(service("b"));                // the next record's name is told
    remove(service("b", "elsewhere."));  // the last record: nobody is told
    EXPECT_EQ(plugin.events, (Strings{"-a", "-c"}));
    EXPECT_EQ(names(), (Strings{"a", "c"}));
    find(service("a"));
    EXPECT_TRUE(kept->isPresent());
    EXPECT_EQ(plugin.events.back(), "+a");
    // Resolved when its record was gone: told without an address, not told with one.
    controller->netServiceDidResolveAddress(*service("gone"));
    EXPECT_EQ(plugin.events.back(), "+gone");
    const PublishedService published("With an address", 1, "_other._tcp.");
    const auto gone = std::make_shared<NSNetService>("local.", "_other._tcp.", "With an address");
    gone->resolveWithTimeout(10.0);
    ASSERT_TRUE(runMainLoopUntil([&] { return !gone->addresses().empty(); }));
    controller->netServiceDidResolveAddress(*gone);
    EXPECT_EQ(plugin.events.back(), "+gone");
}

TEST_F(SwitchController, keepsTheLastOfSeveralAddressesAsText) {
    const PublishedService one("One", 1);
    ASSERT_TRUE(runMainLoopUntil([&] { return plugin.events == Strings{"+One"}; }));
    EXPECT_EQ(controller->serversArray()[0]->serverAddress(), "127.0.0.1");
    const RawAnnouncer::Labels host{"host", "local"};
    RawAnnouncer announcer;
    announcer.pointer("Several").location("Several", host, 1);
    announcer.address(host, {127, 0, 0, 2}).address(host, {127, 0, 0, 3}).send();
    ASSERT_TRUE(runMainLoopUntil([&] { return plugin.events.back() == "+Several"; }));
    // The first address resolves it; the other one may come a moment later.
    const ServerInfo& server = *controller->serversArray()[1];
    const auto addresses = [&] { return server.netService()->addresses(); };
    ASSERT_TRUE(
        runMainLoopUntil([&] { return server.netService()->resolveWithTimeout(1.0), addresses().size() == 2; }));
    controller->netServiceDidResolveAddress(*server.netService());
    EXPECT_EQ(server.serverAddress().value() + ":1", addresses().back().text());
}

TEST_F(SwitchController, selectsByNameTheFirstForAnEmptyOneAndNothingFromAnEmptyList) {
    LogLines log;
    EXPECT_FALSE(controller->selectMatrixSwitcherWithName("unknown"));
    EXPECT_EQ(controller->selectedMatrixSwitcherName(), "unknown");
    EXPECT_FALSE(controller->selectMatrixSwitcherWithName(std::nullopt));
    EXPECT_EQ(controller->selectedMatrixSwitcher(), nullptr);
    EXPECT_EQ(log.count("Selecting matrix switcher with name: (null)"), 1);
    find(service("first"));
    find(service("second"));
    EXPECT_TRUE(controller->selectMatrixSwitcherWithName(""));
    EXPECT_EQ(controller->selectedMatrixSwitcherName(), "first");
    const auto switcher = controller->selectedMatrixSwitcher();
    EXPECT_TRUE(controller->selectMatrixSwitcherWithName("first"));
    EXPECT_NE(controller->selectedMatrixSwitcher(), switcher);
    // A server that was opened once stays in the list.
    EXPECT_TRUE(controller->selectMatrixSwitcherWithName("second"));
    remove(service("first"));
    EXPECT_EQ(names(), (Strings{"first", "second"}));
    EXPECT_FALSE(controller->serversArray()[0]->isPresent());
}

}  // namespace
}  // namespace velmora::test
