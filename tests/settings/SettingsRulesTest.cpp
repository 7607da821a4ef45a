// The rules of the settings view, without a window.
#include <gtest/gtest.h>

#include "discovery/VelmoraSwitchController.h"
#include "settings/SwitchSettingsViewController.h"
#include "tests/plugin/Settings.h"
#include "tests/support/LogLines.h"
#include "tests/support/MainLoop.h"
#include "tests/support/PublishedService.h"
#include "tests/support/ScriptedPeer.h"

namespace velmora::test {
namespace {

// The controls and the plugin at once: writes down, in order, what the rules do to either.
struct Surroundings : PopUpButton, TableView, SegmentedControl, AlertPanel, SwitchSettingsViewControllerDelegate {
    Strings calls;
    std::optional<std::string> title = "A";  // selected in the chooser
    std::int64_t segment = -1;
    const std::vector<SortDescriptor> descriptors{};
    Menu outputs;
    Menu inputs;
    std::shared_ptr<TCPMatrixSwitcher> device;

    Strings takeCalls() { return std::exchange(calls, {}); }

    void removeAllItems() override { calls.push_back("empty"); }
    void addItemWithTitle(const std::string& added) override { calls.push_back("add " + added); }
    void selectItemAtIndex(std::int64_t index) override { calls.push_back("select " + std::to_string(index)); }
    void selectItemWithTitle(const std::string& selected) override { calls.push_back("select " + selected); }
    std::optional<std::string> titleOfSelectedItem() const override { return title; }
    void reloadData() override { calls.push_back("reload"); }
    std::int64_t selectedRow() const override { return -1; }
    const std::vector<SortDescriptor>& sortDescriptors() const override { return descriptors; }
    std::int64_t selectedSegment() const override { return segment; }
    void setEnabledForSegment(bool, std::int64_t) override {}
    void runAlertPanel(const std::string& heading, const std::string& message, const std::string& button) override {
        calls.push_back(heading + "|" + message + "|" + button);
    }
    std::shared_ptr<TCPMatrixSwitcher> selectedDevice() override {
        calls.push_back("device");
        return device;
    }
    void updateAttributes() override { calls.push_back("update"); }
    void defaultSettingsHaveChanged() override { calls.push_back("changed"); }
};

class SettingsRules : public testing::Test {
  protected:
    void setSettings(const Outputs& outputs, const std::string& selected = "") {
        const auto settings = settingsWith(selected, outputs);
        settings->emplace("availableDevices", std::make_shared<PropertyListArray>(PropertyListArray{"B", "A"}));
        list = valueForKey(settings, "configuredOutputs")->array();
        controller->setSettings(settings);
    }
    void load() {
        controller->setDelegate(&around);
        controller->setOutlets({&around, &around, &around, &around.outputs, &around.inputs, &around});
        controller->awakeFromNib();
    }
    void push(std::int64_t segment) {
        around.calls.clear();
        around.segment = segment;
        controller->addRemoveButtonPushed(around);
    }
    Outputs outputs() const { return outputsIn(controller->settings()); }

    Surroundings around;
    ArrayReference list;
    std::shared_ptr<SwitchSettingsViewController> controller =
        std::make_shared<SwitchSettingsViewController>("Settings", nullptr);
};

TEST_F(SettingsRules, onlyStoreBeforeTheViewIsLoadedAndFillItInOrderAfterwards) {
    const LogLines log;
    EXPECT_EQ(controller->view(), nullptr);
    EXPECT_EQ(log.lines(), Strings{"No settings view, because the host has no window system (Velmora Switch Plugin)"});
    controller->setDelegate(&around);
    setSettings({}, "B");
    EXPECT_EQ(around.calls, Strings{});
    load();
    EXPECT_EQ(around.takeCalls(), (Strings{"empty", "add B", "add A", "select B", "device", "reload"}));
    setSettings({{"One", 0, 0}}, "");
    EXPECT_EQ(around.takeCalls(), (Strings{"empty", "add B", "add A", "select 0", "device", "reload"}));
    EXPECT_EQ(textForKey(controller->settings(), "selectedDeviceName"), "");
    EXPECT_EQ(controller->tableViewObjectValueForTableColumnRow(around, "label", 0), PropertyList("One"));
    controller->matrixSwitcherPopUpButtonChanged();
    EXPECT_EQ(around.takeCalls(), Strings{"changed"});
    EXPECT_EQ(textForKey(controller->settings(), "selectedDeviceName"), "A");
    around.title = std::nullopt;  // a pick of nothing is none
    controller->matrixSwitcherPopUpButtonChanged();
    EXPECT_EQ(around.takeCalls(), Strings{});
    EXPECT_EQ(controller->tableViewObjectValueForTableColumnRow(around, "label", 0), std::nullopt);
}

TEST_F(SettingsRules, addTheFirstFreeNumberUnderALabelOfItsOwnAndRemoveOnlyWhatIsThere) {
    const std::pair<Outputs, Output> cases[] = {
        {{{"a", 0, 0}, {"Untitled Output", 1, 0}, {"Untitled Output 2", 3, 0}}, {"Untitled Output 3", 2, 2}},
        {{kFull.begin() + 1, kFull.end()}, {"Untitled Output", 7, 7}},
        {{{"untitled output", -1, 0}, {"b", 8, 0}}, {"Untitled Output", 0, 0}}};
    load();
    for (auto [expected, added] : cases) {
        setSettings(expected);
        push(0);
        EXPECT_EQ(around.calls, (Strings{"device", "reload", "update"}));
        expected.push_back(added);
        EXPECT_EQ(outputs(), expected);
        EXPECT_EQ(textForKey(list->back().dictionary(), "outputType"), "output");
    }
    setSettings(kFull);
    for (const std::int64_t segment : {1, 2, -1}) {  // no row is selected, and there are no such segments
        push(segment);
        EXPECT_EQ(around.calls, Strings{});
    }
    for (const std::int64_t index : {std::int64_t{8}, std::int64_t{-1}, kNotFound}) {
        controller->removeConfiguredOutputAtIndex(index);
    }
    EXPECT_EQ(outputs(), kFull);
    controller->setSettings(nullptr);  // without a list, one is made
    EXPECT_EQ(controller->numberOfRowsInTableView(around), 0);
    push(0);
    EXPECT_EQ(outputs(), (Outputs{{"Untitled Output", 0, 0}}));
}

TEST_F(SettingsRules, storeAChangedCopyOrRefuseWhatAnEntryHas) {
    load();
    const auto edit = [this](const char* column, const PropertyList& value, const Output& after,
                             const Strings& calls = {}) {
        setSettings({{"a", 0, 0}, {"b", 1, 5}});
        const DictionaryReference before = (*list)[1].dictionary();
        const auto content = *before;
        around.calls.clear();
        controller->tableViewSetObjectValueForTableColumnRow(around, value, column, 1);
        EXPECT_EQ(around.calls, calls) << column;
        EXPECT_EQ(outputs()[1], after);
        EXPECT_EQ(*before, content);
        EXPECT_EQ((*list)[1].dictionary() == before, !calls.empty());
        EXPECT_EQ(*valueForKey((*list)[1].dictionary(), column) == value, calls.empty() || value == content.at(column));
    };
    edit("label", "A", {"A", 1, 5});
    edit("label", "a", {"b", 1, 5}, {kSameLabel, "reload"});
    edit("outputNumber", 2, {"b", 2, 5});
    edit("outputNumber", 0, {"b", 1, 5}, {kSameNumber, "reload"});
    edit("outputNumber", 1, {"b", 1, 5}, {kSameNumber, "reload"});
    edit("comment", "any other column", {"b", 1, 5});
    // Another table, a row that is gone, and a chooser without a selection.
    const auto edited = outputs();
    controller->tableViewSetObjectValueForTableColumnRow(Surroundings(), "x", "label", 0);
    controller->tableViewSetObjectValueForTableColumnRow(around, "x", "label", 2);
    controller->tableViewSetObjectValueForTableColumnRow(around, "x", "label", -1);
    around.title = std::nullopt;
    controller->tableViewSetObjectValueForTableColumnRow(around, "x", "label", 0);
    EXPECT_EQ(outputs(), edited);
}

TEST_F(SettingsRules, askTheSwitcherForLabelsInOrder) {
    PeerScript fill;
    fill.exchange("OUTPUTLABEL 1", "Program").exchange("OUTPUTLABEL 2", "\xFF");
    fill.exchange("INPUTLABEL 1", "Camera & 1").exchange("INPUTLABEL 2", "").exchange("INPUTLABEL 3", "<b>");
    PeerScript script;
    script.exchange("MATRIXSIZE", "3x2").then(fill, 2).exchange("OUTPUTLABEL 1", "Program");
    script.exchange("OUTPUTLABEL 2", "").then(fill).exchange("OUTPUTLABEL 0", "whatever");
    ScriptedPeer peer(script.expectClose());
    const PublishedService service("Labels", peer.port());
    const auto servers = std::make_shared<VelmoraSwitchController>(nullptr);
    ASSERT_TRUE(runMainLoopUntil([&] { return servers->serversArrayContainsName("Labels"); }));
    servers->selectMatrixSwitcherWithName("Labels");
    around.device = servers->selectedMatrixSwitcher();
    ASSERT_TRUE(runMainLoopUntil([&] { return around.device->numberOfInputs() == 3; }));
    setSettings({});
    load();
    controller->refreshLabelsButtonPushed();
    Strings titles;
    for (const Menu* menu : {&around.outputs, &around.inputs}) {
        for (std::size_t i = 0; i < menu->numberOfItems(); ++i) {
            titles.push_back(menu->itemAtIndex(i).title);
            EXPECT_EQ(menu->itemAtIndex(i).tag, static_cast<std::int64_t>(i));
        }
    }
    EXPECT_EQ(titles, (Strings{"0001 Program", "0002 (null)", "0001 Camera & 1", "0002 ", "0003 <b>"}));
    push(0);
    push(0);
    EXPECT_EQ(outputs(), (Outputs{{"0001 Program", 0, 0}, {"Untitled Output", 1, 1}}));
    setSettings(kFull);
    push(0);
    EXPECT_EQ(around.calls,
              (Strings{"device", "Output Error!|All the outputs are already defined as used.|OK", "reload", "update"}));
    around.device->closePort();
}

}  // namespace
}  // namespace velmora::test
