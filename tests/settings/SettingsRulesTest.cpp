// The rules of the settings view, without a window.
#include <gtest/gtest.h>

#include <QCoreApplication>
#include <functional>

#include "discovery/ServerInfo.h"
#include "settings/SwitchSettingsViewController.h"
#include "tests/support/LogLines.h"
#include "tests/support/MainLoop.h"
#include "tests/support/PublishedService.h"
#include "tests/support/ScriptedPeer.h"

namespace velmora::test {
namespace {

using Strings = std::vector<std::string>;

struct Entry {
    std::string label;
    std::int32_t output;
    std::int32_t input;
    friend bool operator==(const Entry&, const Entry&) = default;
};

void PrintTo(const Entry& entry, std::ostream* stream) {
    *stream << entry.label << "/" << entry.output << "/" << entry.input;
}

DictionaryReference dictionaryOf(const Entry& entry) {
    auto dictionary = std::make_shared<PropertyListDictionary>();
    dictionary->emplace("label", entry.label);
    dictionary->emplace("outputNumber", entry.output);
    dictionary->emplace("defaultInputNumber", entry.input);
    return dictionary;
}

// The controls and the plugin at once: writes down, in order, what the rules do to either.
struct Surroundings : PopUpButton, TableView, SegmentedControl, AlertPanel, SwitchSettingsViewControllerDelegate {
    Strings calls;
    Strings titles;
    std::int64_t selected = -1;
    std::int64_t row = -1;
    std::int64_t segment = -1;
    std::vector<SortDescriptor> descriptors;
    Menu outputs;
    Menu inputs;
    std::shared_ptr<TCPMatrixSwitcher> device;
    std::function<void()> duringAlert;

    Strings takeCalls() { return std::exchange(calls, {}); }

    void removeAllItems() override {
        titles.clear();
        selected = -1;
        calls.push_back("empty");
    }
    void addItemWithTitle(const std::string& title) override { titles.push_back(title); }
    void selectItemAtIndex(std::int64_t index) override {
        selected = index < static_cast<std::int64_t>(titles.size()) ? index : -1;
        calls.push_back("select " + std::to_string(index));
    }
    void selectItemWithTitle(const std::string& title) override {
        const auto found = std::find(titles.begin(), titles.end(), title);
        selected = found != titles.end() ? found - titles.begin() : -1;
        calls.push_back("select " + title);
    }
    std::optional<std::string> titleOfSelectedItem() const override {
        return selected < 0 ? std::nullopt : std::optional(titles[static_cast<std::size_t>(selected)]);
    }
    void reloadData() override { calls.push_back("reload"); }
    std::int64_t selectedRow() const override { return row; }
    const std::vector<SortDescriptor>& sortDescriptors() const override { return descriptors; }
    std::int64_t selectedSegment() const override { return segment; }
    void setEnabledForSegment(bool enabled, std::int64_t which) override {
        calls.push_back((enabled ? "enable " : "disable ") + std::to_string(which));
    }
    void runAlertPanel(const std::string& title, const std::string& message, const std::string& button) override {
        calls.push_back(title + "|" + message + "|" + button);
        if (duringAlert) duringAlert();
    }
    std::shared_ptr<TCPMatrixSwitcher> selectedDevice() override {
        calls.push_back("device");
        return device;
    }
    void updateAttributes() override { calls.push_back("update"); }
    void defaultSettingsHaveChanged() override { calls.push_back("changed"); }
};

const std::string kNoOutput = "Output Error!|All the outputs are already defined as used.|OK";
const std::string kSameLabel = "Duplicate Label Error!|This label already exists, so please choose another one.|OK";
const std::string kSameNumber =
    "Duplicate Output Number Error!|This output number already exists, so please choose another one.|OK";

class SettingsRules : public testing::Test {
  protected:
    void setSettings(const std::vector<Entry>& entries, const std::string& selected = "",
                     const Strings& available = {"A", "B"}) {
        list = std::make_shared<PropertyListArray>();
        for (const Entry& entry : entries) {
            list->emplace_back(dictionaryOf(entry));
        }
        const auto names = std::make_shared<PropertyListArray>(available.begin(), available.end());
        const auto settings = std::make_shared<PropertyListDictionary>();
        settings->emplace("configuredOutputs", list);
        settings->emplace("availableDevices", names);
        settings->emplace("selectedDeviceName", selected);
        controller->setSettings(settings);
    }
    void load() {
        controller->setDelegate(&around);
        controller->setOutlets({&around, &around, &around, &around.outputs, &around.inputs, &around});
        controller->awakeFromNib();
        around.calls.clear();
    }
    void push(std::int64_t segment) {
        around.segment = segment;
        controller->addRemoveButtonPushed(around);
    }
    std::vector<Entry> entries() const {
        std::vector<Entry> all;
        for (const PropertyList& one : *list) {
            const auto entry = one.dictionary();
            all.push_back({textForKey(entry, "label").value_or("(none)"), intForKey(entry, "outputNumber"),
                           intForKey(entry, "defaultInputNumber")});
        }
        return all;
    }

    Surroundings around;
    ArrayReference list;
    std::shared_ptr<SwitchSettingsViewController> controller =
        std::make_shared<SwitchSettingsViewController>("Settings", nullptr);
};

TEST_F(SettingsRules, onlyStoreBeforeTheViewIsLoadedAndFillItInOrderAfterwards) {
    controller->setDelegate(&around);
    setSettings({}, "B");
    EXPECT_EQ(around.calls, Strings{});
    EXPECT_EQ(textForKey(controller->settings(), "selectedDeviceName"), "B");
    controller->setOutlets({&around, &around, &around, &around.outputs, &around.inputs, &around});
    controller->awakeFromNib();
    EXPECT_EQ(around.takeCalls(), (Strings{"empty", "select B", "device", "reload"}));
    struct Case {
        std::string selected;
        Strings available;
        Strings calls;
        std::optional<std::string> title;
    };
    const Case cases[] = {{"", {"A", "B"}, {"empty", "select 0", "device", "reload"}, "A"},
                          {"", {}, {"empty", "select 0", "device", "reload"}, std::nullopt},
                          {"b", {"A", "B"}, {"empty", "select b", "device", "reload"}, std::nullopt},
                          {"B", {"B", "A", "B"}, {"empty", "select B", "device", "reload"}, "B"}};
    for (const Case& one : cases) {
        setSettings({{"One", 0, 0}}, one.selected, one.available);
        EXPECT_EQ(around.takeCalls(), one.calls) << one.selected;
        EXPECT_EQ(around.titles, one.available);
        EXPECT_EQ(around.titleOfSelectedItem(), one.title);
        // Only a chooser without a selection makes cells empty.
        const auto value = controller->tableViewObjectValueForTableColumnRow(around, "label", 0);
        EXPECT_EQ(value ? value->text() : std::nullopt, one.title ? std::optional<std::string>("One") : std::nullopt);
        EXPECT_EQ(textForKey(controller->settings(), "selectedDeviceName"), one.selected);
    }
    controller->setSettings(nullptr);
    EXPECT_EQ(controller->numberOfRowsInTableView(around), 0);
    around.calls.clear();
    // A pick of nothing is none.
    controller->matrixSwitcherPopUpButtonChanged();
    EXPECT_EQ(around.calls, Strings{});
    EXPECT_EQ(valueForKey(controller->settings(), "selectedDeviceName"), nullptr);
    setSettings({}, "A");
    around.selected = 1;
    around.calls.clear();
    controller->matrixSwitcherPopUpButtonChanged();
    EXPECT_EQ(around.calls, Strings{"changed"});
    EXPECT_EQ(textForKey(controller->settings(), "selectedDeviceName"), "B");
}

TEST_F(SettingsRules, addTheFirstFreeNumberUnderALabelOfItsOwn) {
    struct Case {
        std::vector<Entry> before;
        Entry added;
    };
    const Case cases[] = {
        {{}, {"Untitled Output", 0, 0}},
        {{{"Untitled Output", 0, 5}}, {"Untitled Output 2", 1, 1}},
        {{{"a", 0, 0}, {"Untitled Output", 1, 0}, {"Untitled Output 2", 3, 0}}, {"Untitled Output 3", 2, 2}},
        {{{"a", 6, 0}, {"b", 5, 0}, {"c", 4, 0}, {"d", 3, 0}, {"e", 2, 0}, {"f", 1, 0}, {"untitled output", 0, 0}},
         {"Untitled Output", 7, 7}},
        {{{"a", -1, 0}, {"b", 8, 0}}, {"Untitled Output", 0, 0}}};
    load();
    for (const Case& one : cases) {
        setSettings(one.before);
        around.calls.clear();
        push(0);
        EXPECT_EQ(around.takeCalls(), (Strings{"device", "reload", "update"}));
        std::vector<Entry> after = one.before;
        after.push_back(one.added);
        EXPECT_EQ(entries(), after);
        EXPECT_EQ(textForKey(list->back().dictionary(), "outputType"), "output");
        EXPECT_TRUE(valueForKey(list->back().dictionary(), "outputNumber")->isInteger());
    }
    push(0);  // no number is missing
    ASSERT_EQ(list->size(), 4U);
    setSettings(
        {{"a", 7, 0}, {"b", 6, 0}, {"c", 5, 0}, {"d", 4, 0}, {"e", 3, 0}, {"f", 2, 0}, {"g", 1, 0}, {"h", 0, 0}});
    around.calls.clear();
    push(0);
    EXPECT_EQ(around.takeCalls(), (Strings{"device", kNoOutput, "reload", "update"}));
    EXPECT_EQ(list->size(), 8U);
    EXPECT_EQ(controller->firstAvailableOutputNumber(), kNotFound);
    // Settings without a list get one.
    controller->setSettings(std::make_shared<PropertyListDictionary>());
    push(0);
    EXPECT_EQ(controller->numberOfRowsInTableView(around), 1);
}

TEST_F(SettingsRules, removeTheSelectedRowAndNothingElse) {
    load();
    setSettings({{"a", 0, 0}, {"b", 1, 0}, {"c", 2, 0}});
    around.calls.clear();
    push(1);
    push(2);
    push(-1);
    EXPECT_EQ(around.calls, Strings{});
    around.row = 1;
    push(1);
    EXPECT_EQ(around.takeCalls(), (Strings{"reload", "update"}));
    EXPECT_EQ(entries(), (std::vector<Entry>{{"a", 0, 0}, {"c", 2, 0}}));
    for (const std::int64_t index : {std::int64_t{2}, std::int64_t{-1}, kNotFound}) {
        controller->removeConfiguredOutputAtIndex(index);
    }
    EXPECT_EQ(list->size(), 2U);
    controller->tableViewSelectionDidChange(around);
    around.row = -1;
    controller->tableViewSelectionDidChange(around);
    EXPECT_EQ(around.takeCalls(), (Strings{"enable 1", "disable 1"}));
}

TEST_F(SettingsRules, storeAChangedCopyOrRefuseWhatAnEntryHas) {
    struct Case {
        std::string column;
        PropertyList value;
        Strings calls;
        Entry after;
    };
    const Case cases[] = {{"label", "c", {}, {"c", 1, 5}},
                          {"label", "", {}, {"", 1, 5}},
                          {"label", "A", {}, {"A", 1, 5}},
                          {"label", "a", {kSameLabel, "reload"}, {"b", 1, 5}},
                          {"label", "b", {kSameLabel, "reload"}, {"b", 1, 5}},
                          {"outputNumber", 2, {}, {"b", 2, 5}},
                          {"outputNumber", 0, {kSameNumber, "reload"}, {"b", 1, 5}},
                          {"outputNumber", 1, {kSameNumber, "reload"}, {"b", 1, 5}},
                          {"defaultInputNumber", 5, {}, {"b", 1, 5}},
                          {"defaultInputNumber", 0, {}, {"b", 1, 0}}};
    load();
    for (const Case& one : cases) {
        setSettings({{"a", 0, 0}, {"b", 1, 5}});
        const DictionaryReference before = (*list)[1].dictionary();
        around.calls.clear();
        controller->tableViewSetObjectValueForTableColumnRow(around, one.value, one.column, 1);
        EXPECT_EQ(around.takeCalls(), one.calls) << one.column;
        EXPECT_EQ(entries()[1], one.after);
        EXPECT_EQ(*valueForKey(before, "label"), PropertyList("b"));
        EXPECT_EQ((*list)[1].dictionary() == before, !one.calls.empty());
    }
    controller->tableViewSetObjectValueForTableColumnRow(around, "note", "comment", 0);
    EXPECT_EQ(textForKey(controller->configuredOutputAtIndex(0), "comment"), "note");
    // Another table, a row that is gone, and a chooser without a selection.
    Surroundings other;
    const auto edited = entries();
    controller->tableViewSetObjectValueForTableColumnRow(other, "x", "label", 0);
    controller->tableViewSetObjectValueForTableColumnRow(around, "x", "label", 2);
    controller->tableViewSetObjectValueForTableColumnRow(around, "x", "label", -1);
    around.selected = -1;
    controller->tableViewSetObjectValueForTableColumnRow(around, "x", "label", 0);
    EXPECT_EQ(entries(), edited);
    EXPECT_EQ(controller->numberOfRowsInTableView(other), 0);
    EXPECT_EQ(controller->tableViewObjectValueForTableColumnRow(other, "label", 0), PropertyList(""));
}

TEST_F(SettingsRules, sortTheSharedListItself) {
    load();
    setSettings({{"beta", 10, 1}, {"Alpha", 2, 1}, {"gamma", 2, 0}, {"alpha", 3, 1}});
    struct Case {
        std::vector<SortDescriptor> descriptors;
        Strings labels;
    };
    const Case cases[] = {{{{"outputNumber", true}}, {"Alpha", "gamma", "alpha", "beta"}},
                          {{{"outputNumber", false}}, {"beta", "alpha", "Alpha", "gamma"}},
                          {{{"label", true}}, {"alpha", "Alpha", "beta", "gamma"}},
                          {{{"defaultInputNumber", true}, {"label", false}}, {"gamma", "beta", "alpha", "Alpha"}},
                          {{}, {"gamma", "beta", "alpha", "Alpha"}}};
    for (const Case& one : cases) {
        around.descriptors = one.descriptors;
        around.calls.clear();
        controller->tableViewSortDescriptorsDidChange(around, {});
        EXPECT_EQ(around.calls, Strings{"reload"});
        Strings labels;
        for (const Entry& entry : entries()) {
            labels.push_back(entry.label);
        }
        EXPECT_EQ(labels, one.labels);
    }
}

TEST_F(SettingsRules, mayBeReleasedOrGivenOtherSettingsWhileAnAlertIsOpen) {
    load();
    setSettings({{"a", 0, 0}, {"b", 1, 0}});
    around.duringAlert = [this] { setSettings({}); };
    controller->tableViewSetObjectValueForTableColumnRow(around, "a", "label", 1);
    EXPECT_EQ(list->size(), 0U);
    setSettings({{"a", 0, 0}});
    around.duringAlert = [this] { controller = nullptr; };
    around.calls.clear();
    controller->tableViewSetObjectValueForTableColumnRow(around, "a", "label", 0);
    EXPECT_EQ(around.takeCalls(), Strings{kSameLabel});
    controller = std::make_shared<SwitchSettingsViewController>("Settings", nullptr);
    load();
    setSettings(
        {{"a", 7, 0}, {"b", 6, 0}, {"c", 5, 0}, {"d", 4, 0}, {"e", 3, 0}, {"f", 2, 0}, {"g", 1, 0}, {"h", 0, 0}});
    around.calls.clear();
    push(0);
    EXPECT_EQ(around.takeCalls(), (Strings{"device", kNoOutput}));
}

TEST_F(SettingsRules, askTheSwitcherForLabelsInOrder) {
    struct Registry : TCPMatrixSwitcherDelegate {
        std::vector<std::shared_ptr<ServerInfo>> servers{std::make_shared<ServerInfo>()};
        bool isConnected = false;
        std::int32_t indexOfServerForName(const std::string&) const override { return 0; }
        const std::vector<std::shared_ptr<ServerInfo>>& serversArray() const override { return servers; }
        void matrixDimensionsChangedTo(MatrixSwitcher&, NSSize) override { isConnected = true; }
    } registry;
    PeerScript script;
    script.exchange("MATRIXSIZE", "3x2");
    for (int refresh = 0; refresh < 2; ++refresh) {
        script.exchange("OUTPUTLABEL 1", "Program").exchange("OUTPUTLABEL 2", "\xFF");
        script.exchange("INPUTLABEL 1", "Camera & 1").exchange("INPUTLABEL 2", "").exchange("INPUTLABEL 3", "<b>");
    }
    script.exchange("OUTPUTLABEL 1", "Program").exchange("OUTPUTLABEL 2", "").exchange("OUTPUTLABEL 0", "whatever");
    ScriptedPeer peer(script.expectClose());
    const PublishedService service("Labels", peer.port());
    registry.servers[0]->setNetService(std::make_shared<NSNetService>("local.", "_matrixswitcher._tcp.", "Labels"));
    around.device = std::make_shared<TCPMatrixSwitcher>();
    around.device->setDelegate(&registry);
    around.device->openPort("Labels");
    ASSERT_TRUE(runMainLoopUntil([&] { return registry.isConnected; }));
    setSettings({});
    load();
    controller->refreshLabelsButtonPushed();
    EXPECT_EQ(around.takeCalls(), (Strings{"device", "reload"}));
    Strings titles;
    for (const Menu* menu : {&around.outputs, &around.inputs}) {
        for (std::size_t i = 0; i < menu->numberOfItems(); ++i) {
            const MenuItem& item = menu->itemAtIndex(i);
            titles.push_back(item.title);
            EXPECT_EQ(item.tag, static_cast<std::int64_t>(i));
            EXPECT_EQ(item.target, controller.get());
            EXPECT_EQ(item.representedObject,
                      menu == &around.outputs ? std::optional<std::string>("output") : std::nullopt);
        }
    }
    EXPECT_EQ(titles, (Strings{"0001 Program", "0002 (null)", "0001 Camera & 1", "0002 ", "0003 <b>"}));
    push(0);
    push(0);
    EXPECT_EQ(entries(), (std::vector<Entry>{{"0001 Program", 0, 0}, {"Untitled Output", 1, 1}}));
    for (std::int32_t number = 2; number < 8; ++number) {
        list->emplace_back(dictionaryOf({"x", number, 0}));
    }
    around.calls.clear();
    push(0);
    EXPECT_EQ(around.takeCalls(), (Strings{"device", kNoOutput, "reload", "update"}));
    around.device->closePort();
    peer.finish();
}

TEST_F(SettingsRules, haveNoViewInAHostWithoutAWindowSystem) {
    const LogLines log;
    EXPECT_EQ(controller->view(), nullptr);
    EXPECT_EQ(log.lines(), Strings{"No settings view, because the host has no window system (Velmora Switch Plugin)"});
}

}  // namespace
}  // namespace velmora::test
