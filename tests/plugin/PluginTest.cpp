// The whole plugin: without a server, and against announced servers, from discovery to a routed output.
#include <gtest/gtest.h>

#include <functional>

#include "tests/plugin/PluginFixture.h"
#include "tests/support/LogLines.h"
#include "tests/support/ScriptedPeer.h"
#include "tests/support/VirtualSwitch.h"

namespace velmora::test {
namespace {

struct Notices {
    int notices = 0;
    std::function<void()> onNotice;
    void notice(const std::string& name) {
        EXPECT_EQ(name, "Velmora Switch");
        EXPECT_TRUE(MainThread::isCurrent());
        ++notices;
        if (onNotice) onNotice();
    }
};
struct Host : VelmoraNodePluginProtocol_Delegate, Notices {
    void attributesChangedForPluginName(const std::string& name) override { notice(name); }
};
struct StatusObserver : VelmoraNodePluginStatusProtocol_Observer, Notices {
    void statusChangedForPluginName(const std::string& name) override { notice(name); }
};

using State = NodePluginConnectionState;
using Answer = NodePluginAnswer;

class Plugin : public PluginFixture {
  protected:
    void SetUp() override { plugin->setDelegate(&host); }
    // Rebuilt after the connection: while that is being made, there are no values; without one, no labels.
    bool isComplete(std::size_t outputs) const {
        const auto names = plugin->attributeNames();
        if (names->size() != outputs) return false;
        const auto values = plugin->possibleValuesOfAttributeWithName(names->front());
        return !values->empty() && values->front() != "0001 (null)";
    }
    bool completes(std::size_t outputs) {
        return runMainLoopUntil([&] { return isComplete(outputs); });
    }
    bool reaches(State state) {
        return runMainLoopUntil([&] { return plugin->connectionStatus().state == state; });
    }

    Host host;
    StatusObserver observer;
};

TEST_F(Plugin, answersBeforeItIsStartedAndRefusesInWordsWithoutAServer) {
    const auto knowsNothing = [this] {
        const LogLines log;
        EXPECT_EQ(*plugin->attributeNames(), Strings{});
        EXPECT_EQ(plugin->typeOfAttributeWithName(kOne), "Double");
        EXPECT_EQ(plugin->displayNameOfAttributeWithName(kOne), "");
        EXPECT_EQ(plugin->defaultValueOfAttributeWithName(kOne), "");
        EXPECT_EQ(plugin->directionOfAttributeWithName(kOne), "");
        EXPECT_EQ(*plugin->possibleValuesOfAttributeWithName(kOne), Strings{});
        EXPECT_EQ(plugin->currentValueOfAttributeWithName(kOne), "");
        EXPECT_EQ(plugin->setValueForAttributeWithName("0001", "Gain"), -1);
        plugin->setCurrentValuesToDefaults();
        EXPECT_EQ(log.lines(), Strings{});
    };
    knowsNothing();
    EXPECT_EQ(plugin->startAndSetCurrentValuesToDefaults(false), 0);
    const LogLines log;
    EXPECT_EQ(plugin->typeOfAttributeWithName("Gain"), std::nullopt);
    EXPECT_EQ(plugin->possibleValuesOfAttributeWithName("Gain"), nullptr);
    EXPECT_EQ(plugin->currentValueOfAttributeWithName("Gain"), "");
    EXPECT_EQ(plugin->setValueForAttributeWithName("0001", "Velmora Switch Output7"), -1);
    EXPECT_EQ(plugin->currentValueOfAttributeWithName("Velmora Switch Output7"), "");
    EXPECT_EQ(plugin->setValueForAttributeWithName("0001", "Velmora Switch Output 7"), -1);
    auto lines = log.lines();
    std::erase(lines, "No Avahi daemon answers, services are discovered without one");  // whenever that is known
    EXPECT_EQ(lines,
              (Strings{"Attribute 'Gain' is not implemented in the Velmora Switch Plugin.",
                       "Attribute 'Velmora Switch Output7' is not implemented in the Velmora Switch Plugin.",
                       "No server selected (Velmora Switch Plugin)", "No server selected (Velmora Switch Plugin)"}));
    plugin->stop();
    plugin->stop();
    knowsNothing();
}

TEST_F(Plugin, keepsSettingsAsCopiesInItsOwnList) {
    const Outputs outputs{{"Monitor", 0, 2}, {"Air", 1, 0}};
    const auto given = settingsWith("Studio", outputs);
    plugin->setDefaultSettings(given);
    // The giver's entries are not the plugin's, but what defaultSettings hands out is.
    valueForKey(given, "configuredOutputs")->array()->front().dictionary()->insert_or_assign("label", "changed");
    const auto written = plugin->defaultSettings();
    EXPECT_EQ(textForKey(written, "selectedDeviceName"), "Studio");
    EXPECT_TRUE(valueForKey(written, "availableDevices")->array()->empty());
    EXPECT_EQ(outputsIn(written), outputs);
    EXPECT_EQ(valueForKey(written, "configuredOutputs")->array(), plugin->configuredOutputs());
    plugin->setDefaultSettings(written);
    EXPECT_NE(valueForKey(written, "configuredOutputs")->array(), plugin->configuredOutputs());
    plugin->setDefaultSettings(nullptr);

    const auto damaged = makeDictionary();
    damaged->emplace("configuredOutputs",
                     std::make_shared<PropertyListArray>(PropertyListArray{"no dictionary", makeDictionary()}));
    damaged->emplace("selectedDeviceName", 7);
    plugin->setDefaultSettings(damaged);
    EXPECT_EQ(plugin->configuredOutputs()->size(), 1U);
    damaged->insert_or_assign("configuredOutputs", "no list");
    plugin->setDefaultSettings(damaged);
    EXPECT_TRUE(plugin->configuredOutputs()->empty());
}

TEST_F(Plugin, asksTheServerInTheOrderOfTheModelAndRoutesDefaultsOnEachConnection) {
    PeerScript rebuild, refresh, session;
    rebuild.exchange("INPUTLABEL 1", "A").exchange("INPUTLABEL 2", "B");
    rebuild.exchange("INPUTLABEL 3", "").exchange("INPUTLABEL 4", "D\xFF");
    refresh.exchange("REFRESH", "OK").exchange("GET 1", "1 2");
    refresh.exchange("INPUTLABEL 3", "").exchange("INPUTLABEL 2", "B");
    session.then(refresh).exchange("MATRIXSIZE", "4x2").exchange("SET 1 3", "OK").then(rebuild).then(refresh);
    ScriptedPeer peer({PeerScript(session).expectClose(), PeerScript(session).expectClose()});
    const PublishedService service("Order", peer.port());
    for (int connection = 0; connection < 2; ++connection) {
        start("Order", {{"Monitor", 0, 2}}, true);
        ASSERT_TRUE(completes(1));
        EXPECT_EQ(*plugin->attributeNames(), Strings{kOne});
        EXPECT_EQ(*plugin->possibleValuesOfAttributeWithName(kOne),
                  (Strings{"0001 A", "0002 B", "0003 ", "0004 (null)"}));
        EXPECT_EQ(plugin->defaultValueOfAttributeWithName(kOne), "0003 ");
        EXPECT_EQ(plugin->displayNameOfAttributeWithName(kOne), "Monitor");
        EXPECT_EQ(plugin->typeOfAttributeWithName(kOne), "MultipleValues");
        EXPECT_EQ(plugin->directionOfAttributeWithName(kOne), "Output");
        EXPECT_EQ(*plugin->attributes()->find(kOne)->attributeCurrentValue, "0002 B");
        plugin->stop();
        EXPECT_EQ(*plugin->attributeNames(), Strings{});
    }
}

TEST_F(Plugin, routesAndRefusesAsTheHostAsks) {
    VirtualSwitch studio("Studio", 4, 2);
    start("Studio", {{"One", 0, 0}, {"Two", 1, 0}, {"Beyond", 9, 7}, {"Two again", 1, 1}});
    ASSERT_TRUE(completes(3));
    EXPECT_EQ(*plugin->attributeNames(), (Strings{kOne, "Velmora Switch Output 10", kTwo}));
    EXPECT_EQ(plugin->attributes()->find(kOne)->attributePossibleValues,
              plugin->attributes()->find(kTwo)->attributePossibleValues);
    EXPECT_EQ(plugin->displayNameOfAttributeWithName(kTwo), "Two again");
    const int notices = host.notices;
    // Value, attribute, result, what output 2 then carries, and the line in the log.
    const std::tuple<std::string, std::string, std::int32_t, int, std::string> cases[] = {
        {"0004 Camera", kTwo, 0, 4, ""},
        {"3", kTwo, 0, 3, ""},
        {" 2 x", "Velmora Switch Output  2 ", 0, 2, ""},
        {"00012", kTwo, 0, 1, ""},
        {"0005 no", kTwo, -1, 1, "Input 5 is out of range (Velmora Switch Plugin)"},
        {"abcd", kTwo, -1, 1, "Input 0 is out of range (Velmora Switch Plugin)"},
        {"", kTwo, -1, 1, "Input 0 is out of range (Velmora Switch Plugin)"},
        {"-1", kTwo, 0, 1, ""},
        {"0001", "Velmora Switch Output 99", 0, 1, ""},
        {"0001", "Velmora Switch Output2", -1, 1,
         "Attribute 'Velmora Switch Output2' is not implemented in the Velmora Switch Plugin."},
    };
    for (const auto& [value, name, result, routed, line] : cases) {
        LogLines log;
        EXPECT_EQ(plugin->setValueForAttributeWithName(value, name), result) << value;
        EXPECT_EQ(studio.matrix.routedInput(2), routed) << value;
        EXPECT_EQ(log.lines(), line.empty() ? Strings{} : Strings{line});
    }
    EXPECT_EQ(plugin->currentValueOfAttributeWithName(kTwo), "0001 Input 1");
    EXPECT_EQ(plugin->currentValueOfAttributeWithName("Velmora Switch Output2"), "0001 Input 1");
    EXPECT_EQ(plugin->currentValueOfAttributeWithName("Velmora Switch Output -5"), "0001 Input 1");
    LogLines log;
    EXPECT_EQ(plugin->currentValueOfAttributeWithName("Velmora Switch Output 3"), "");
    EXPECT_EQ(log.lines(), Strings{"Output 3 is out of range (Velmora Switch Plugin)"});
    EXPECT_EQ(host.notices, notices);
}

TEST_F(Plugin, comesBackByItselfToAServerThatRestartsOnAnotherPort) {
    VirtualSwitch studio("Restarting", 4, 4);
    start("Restarting", {{"One", 0, 3}}, true);
    ASSERT_TRUE(completes(1));
    EXPECT_EQ(studio.matrix.routedInput(1), 4);
    for (int i = 0; i < 2; ++i) {
        studio.stop();
        ASSERT_TRUE(runMainLoopUntil([&] { return !isComplete(1); }));
        EXPECT_EQ(plugin->attributeNames()->size(), 1U);
        studio.matrix.route(1, 1);
        studio.start();
        ASSERT_TRUE(completes(1));
        EXPECT_EQ(studio.matrix.routedInput(1), 4);  // the defaults again
        EXPECT_EQ(plugin->setValueForAttributeWithName("0002", kOne), 0);
        EXPECT_EQ(studio.matrix.routedInput(1), 2);
    }
}

TEST_F(Plugin, selectsByItsSettingsWheneverTheyCome) {
    VirtualSwitch a("Server A", 2, 2);
    VirtualSwitch b("Server B", 3, 3);
    plugin->startAndSetCurrentValuesToDefaults(false);
    ASSERT_TRUE(runMainLoopUntil([&] { return available() == 2 && host.notices >= 2; }));
    EXPECT_EQ(plugin->selectedDevice(), nullptr);
    plugin->setDefaultSettings(settingsWith("Server B", {{"One", 0, 0}}));
    ASSERT_TRUE(completes(1));
    const auto values = plugin->possibleValuesOfAttributeWithName(kOne);
    EXPECT_EQ(values->size(), 3U);
    EXPECT_EQ(values->capacity(), values->size()) << "a list of many inputs holds room that it does not need";
    EXPECT_EQ(b.server->clients(), 1U);
    plugin->setDefaultSettings(settingsWith("Server A", {{"One", 0, 0}, {"Two", 1, 1}}));
    ASSERT_TRUE(completes(2));
    EXPECT_EQ(plugin->possibleValuesOfAttributeWithName(kTwo)->size(), 2U);
    ASSERT_TRUE(runMainLoopUntil([&] { return b.server->clients() == 0; }));
    // No saved settings: the first server that is known, and no outputs.
    const int notices = host.notices;
    plugin->setDefaultSettings(makeDictionary());
    EXPECT_GT(host.notices, notices);
    EXPECT_EQ(*plugin->attributeNames(), Strings{});
    EXPECT_NE(plugin->selectedDevice(), nullptr);
    plugin->stop();
    plugin->setDefaultSettings(settingsWith("Server B", {{"One", 0, 0}}));
    plugin->startAndSetCurrentValuesToDefaults(false);
    ASSERT_TRUE(completes(1));
}

TEST_F(Plugin, twoPluginsShareTheProcessAndADoubleStartDoesNoHarm) {
    VirtualSwitch studio("Shared", 2, 2);
    const auto second = std::make_shared<VelmoraSwitchNodePlugin>(nullptr);
    second->setDefaultSettings(settingsWith("Shared", {{"Two", 1, 1}}));
    second->startAndSetCurrentValuesToDefaults(false);
    start("Shared", {{"One", 0, 0}});
    plugin->startAndSetCurrentValuesToDefaults(false);
    ASSERT_TRUE(completes(1));
    ASSERT_TRUE(runMainLoopUntil([&] { return second->attributes()->records.size() == 1; }));
    EXPECT_EQ(plugin->setValueForAttributeWithName("0002", kOne), 0);
    EXPECT_EQ(studio.matrix.routedInput(1), 2);
    second->stop();
    EXPECT_EQ(plugin->currentValueOfAttributeWithName(kOne), "0002 Input 2");
    const std::weak_ptr<TCPMatrixSwitcher> first = plugin->selectedDevice();
    plugin->startAndSetCurrentValuesToDefaults(false);
    EXPECT_FALSE(first.expired());
}

TEST_F(Plugin, tellsWhatCameOfTheLastValueAlsoWhenTheEndShowsThatTheReplyWasCut) {
    PeerScript script;  // of a server whose replies have no line ends
    script.expect("MATRIXSIZE\n\r").send("4x2").expect("SET 1 1\n\r").send("ERROR");
    script.expect("REFRESH\n\r").send("OK").expect("GET 1\n\r").send("1 3").waitForSignal().close();
    ScriptedPeer peer(script);
    const PublishedService service("Cut", peer.port());
    start("Cut", {});
    ASSERT_TRUE(reaches(State::connected));
    const auto is = [this](Answer answer, const std::string& name, const std::string& reason) {
        const auto outcome = plugin->lastOutcome();
        return outcome.answer == answer && outcome.attributeName == name && outcome.reason == reason;
    };
    EXPECT_TRUE(is(Answer::none, "", ""));
    EXPECT_EQ(plugin->setValueForAttributeWithName("0001", kOne), 0);
    EXPECT_TRUE(is(Answer::refused, kOne, "The server answered \"ERROR\""));
    EXPECT_EQ(plugin->setValueForAttributeWithName("0005", kTwo), -1);
    EXPECT_TRUE(is(Answer::refused, kTwo, "Input 5 is out of range"));
    plugin->setStatusObserver(&observer);
    EXPECT_EQ(plugin->currentValueOfAttributeWithName(kOne), "0003 Input 3");
    EXPECT_TRUE(is(Answer::answered, kOne, ""));
    peer.signal();
    ASSERT_TRUE(runMainLoopUntil([&] { return observer.notices > 0; }));
    EXPECT_TRUE(
        is(Answer::connectionEnded, kOne, "The server ended the connection; the reply before may be a part of one"));
    EXPECT_EQ(plugin->connectionStatus().state, State::ended);
    plugin->currentValueOfAttributeWithName(kOne);
    EXPECT_TRUE(is(Answer::noConnection, kOne, "The server ended the connection"));
}

TEST_F(Plugin, tellsWhereItsConnectionStandsAndNeverInsideAnOperation) {
    const auto is = [this](State state, const std::string& server, const std::string& reason = "") {
        const auto status = plugin->connectionStatus();
        return status.state == state && status.serverName == server && status.reason == reason;
    };
    EXPECT_TRUE(is(State::noServerSelected, "", "The plugin is not started"));
    plugin->setStatusObserver(&observer);
    start("Standing", {});
    EXPECT_EQ(plugin->currentValueOfAttributeWithName(kOne), "");
    EXPECT_EQ(plugin->lastOutcome().answer, Answer::noConnection);
    EXPECT_EQ(observer.notices, 0);
    ASSERT_TRUE(runMainLoopUntil([&] { return observer.notices == 1; }));
    EXPECT_TRUE(is(State::notFound, "Standing"));
    VirtualSwitch studio("Standing", 4, 4);
    ASSERT_TRUE(reaches(State::connected));
    ASSERT_TRUE(runMainLoopUntil([&] { return observer.notices > 1; }));
    const auto connected = plugin->connectionStatus().since;

    int within = 0;
    host.onNotice = [&] {
        const int before = observer.notices;
        studio.server = nullptr;
        EXPECT_TRUE(reaches(State::ended));
        runMainLoopOnce();
        runMainLoopOnce();
        within = observer.notices - before;
    };
    plugin->updateAttributes();
    EXPECT_EQ(within, 0);
    const int notices = observer.notices;
    ASSERT_TRUE(runMainLoopUntil([&] { return observer.notices > notices; }));
    EXPECT_TRUE(is(State::ended, "Standing", "The server ended the connection"));
    EXPECT_GE(plugin->connectionStatus().since, connected);
    host.onNotice = nullptr;

    RefusingPort refusing;
    auto service = std::make_unique<PublishedService>("Refusing", refusing.port());
    plugin->setDefaultSettings(settingsWith("Refusing", {}));
    EXPECT_TRUE(runMainLoopUntil([&] { return is(State::failed, "Refusing", "Connection refused"); }));
    service = nullptr;
    EXPECT_TRUE(runMainLoopUntil([&] { return is(State::notFound, "Refusing"); }));
    for (const auto& [size, words] :
         {std::pair("no\tsize", "The server's reply to MATRIXSIZE is no size: \"no\\tsize\""),
          {"0x8", "The server's matrix has 0 inputs and 8 outputs"}}) {
        const std::string reason = words;
        ScriptedPeer peer(PeerScript().exchange("MATRIXSIZE", size).expectClose());
        plugin->setDefaultSettings(settingsWith(reason, {}));
        service = std::make_unique<PublishedService>(reason, peer.port());
        EXPECT_TRUE(runMainLoopUntil([&] { return is(State::connecting, reason, reason); }));
        plugin->stop();
        EXPECT_TRUE(is(State::noServerSelected, "", "The plugin is not started"));
        plugin->startAndSetCurrentValuesToDefaults(false);
    }
    plugin->setDefaultSettings(settingsWith("", {}));
    EXPECT_EQ(plugin->connectionStatus().state, State::noServerSelected);
    observer.onNotice = [&] { plugin = nullptr; };
    EXPECT_TRUE(runMainLoopUntil([&] { return plugin == nullptr; }));
}

TEST(ConnectionStatus, ofAServerWithoutAConnectionIsThatOfItsRecord) {
    const auto controller = std::make_shared<VelmoraSwitchController>(nullptr);
    const auto service = std::make_shared<NSNetService>("local.", "_matrixswitcher._tcp.", "a");
    NSNetServiceBrowser browser;
    const auto state = [&] { return connectionStatusOf(controller.get(), "a").state; };
    EXPECT_EQ(state(), State::notFound);
    controller->netServiceBrowserDidFindServiceMoreComing(browser, service, false);
    EXPECT_EQ(state(), State::connecting);
    controller->netServiceDidNotResolve(*service);
    EXPECT_EQ(state(), State::failed);
    controller->netServiceBrowserDidRemoveServiceMoreComing(browser, service, false);
    EXPECT_EQ(state(), State::notFound);
}

TEST_F(Plugin, mayBeStoppedAndReleasedInsideItsOwnCallback) {
    VirtualSwitch studio("Fleeting", 2, 2);
    start("Fleeting", {{"One", 0, 0}});
    host.onNotice = [&] {
        if (plugin == nullptr || !isComplete(1)) return;
        plugin->stop();
        plugin = nullptr;
    };
    ASSERT_TRUE(runMainLoopUntil([&] { return plugin == nullptr; }));
    ASSERT_TRUE(runMainLoopUntil([&] { return studio.server->clients() == 0; }));
}

}  // namespace
}  // namespace velmora::test
