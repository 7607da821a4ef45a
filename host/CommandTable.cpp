#include "host/CommandTable.h"

#include <QString>
#include <algorithm>

#include "host/Quotes.h"
#include "platform/foundation/QtText.h"
#include "platform/threads/Moment.h"

namespace velmora {

namespace {

constexpr Seconds kLongestWait = std::chrono::hours(24);

Result<void> takeFile(std::string_view option, const std::string& value, std::optional<std::filesystem::path>& file) {
    if (value.empty()) return Failure{"--" + std::string(option) + " is given no name"};
    file = value;
    return {};
}

Result<void> takeTime(std::string_view option, const std::string& value, std::chrono::milliseconds& time) {
    bool isNumber = false;
    const Seconds given(qString(value).toDouble(&isNumber));
    if (!isNumber || !(given >= Seconds(0) && given <= kLongestWait))
        return Failure{"--" + std::string(option) + " takes a number of seconds from 0 to 86400, not " +
                       inQuotes(value)};
    time = std::chrono::round<std::chrono::milliseconds>(given);
    return {};
}

constexpr OptionRow kSettings = {
    "settings", "FILE",
    "the property list (XML) that is kept for the plugin: read at the start, written back when the plugin has changed "
    "its settings; keys that it does not know stay. A file that does not exist stands for no saved settings. Probable "
    "mistakes in it are reported. \"velmora-host help settings\" shows what is in it",
    [](Options& options, const std::string& value) { return takeFile("settings", value, options.settings); }};

constexpr OptionRow kBundle = {
    "bundle", "DIR", "the plugin's bundle; without it the one that was built or installed with this program",
    [](Options& options, const std::string& value) { return takeFile("bundle", value, options.bundle); }};

constexpr OptionRow kInterface = {
    "interface", "NAME",
    "look for servers on this network interface only (may be repeated), for example: --interface lo",
    [](Options& options, const std::string& value) {
        options.interfaces.push_back(value);
        return Result<void>();
    }};

constexpr OptionRow kWait = {
    "wait", "SECONDS", "how long to wait for the server that the settings name and for its attributes (10)",
    [](Options& options, const std::string& value) { return takeTime("wait", value, options.wait); }};

constexpr OptionRow kVerbose = {"verbose", "", "show the plugin's log lines", [](Options& options, const std::string&) {
                                    options.verbose = true;
                                    return Result<void>();
                                }};

constexpr OptionRow kDefaults = {
    "defaults", "",
    "start the plugin with default routes: each time the server connects, also when it merely restarts or is announced "
    "anew, by whomever, every configured output is routed to its default input and the operator's routes are lost",
    [](Options& options, const std::string&) {
        options.defaults = true;
        return Result<void>();
    }};

constexpr OptionRow kJson = {
    "json", "",
    "print one JSON document (\"watch\": one a line) instead of text. \"answered\" tells whether the device has "
    "answered for the value, if the plugin knows; \"current\" is null when it has not. \"possible\" is null when the "
    "values are not known",
    [](Options& options, const std::string&) {
        options.json = true;
        return Result<void>();
    }};

constexpr OptionRow kScreenshot = {
    "screenshot", "FILE",
    "write a picture (PNG) of the window once the attributes are there or the wait is over, and end. Settings are not "
    "saved",
    [](Options& options, const std::string& value) { return takeFile("screenshot", value, options.screenshot); }};

// Those of every command that loads the plugin, so that they may stand in an alias, and the command's own before them.
std::vector<const OptionRow*> pluginOptionsAnd(std::vector<const OptionRow*> own) {
    own.insert(own.end(), {&kSettings, &kBundle, &kInterface, &kWait, &kVerbose});
    return own;
}

constexpr std::string_view kSettingsHelp =
    R"(The plugin's settings as a property list, as they would be kept. Does not look at the network.

The file names a switch server and lists the outputs that become attributes. Outputs and inputs count from 0 there, and from 1 in attribute names and values:

  <?xml version="1.0" encoding="UTF-8"?>
  <plist version="1.0">
  <dict>
    <key>selectedDeviceName</key> <string>Virtual Matrix</string>
    <key>configuredOutputs</key>
    <array>
      <dict>
        <key>label</key>              <string>Studio monitor</string>
        <key>outputType</key>         <string>output</string>
        <key>outputNumber</key>       <integer>0</integer>
        <key>defaultInputNumber</key> <integer>2</integer>
      </dict>
    </array>
  </dict>
  </plist>)";

}  // namespace

const std::vector<CommandRow>& commandTable() {
    static const std::vector<CommandRow> table = {
        {CommandName::servers, "servers", "", 0, 0, pluginOptionsAnd({&kJson, &kDefaults}),
         "the switch servers on the network",
         "One a line; \"* \" marks the one that the settings name. Without such a name the command waits until any "
         "server is found."},
        {CommandName::attributes, "attributes", "", 0, 0, pluginOptionsAnd({&kJson, &kDefaults}),
         "a table of the plugin's attributes, each with the value that the switcher has now", ""},
        {CommandName::possible, "possible", "NAME", 1, 1, pluginOptionsAnd({&kJson, &kDefaults}),
         "the values that an attribute can be set to", "One a line."},
        {CommandName::get, "get", "NAME", 1, 1, pluginOptionsAnd({&kJson, &kDefaults}),
         "the value that an attribute has now", ""},
        {CommandName::set, "set", "NAME VALUE", 2, 2, pluginOptionsAnd({&kJson, &kDefaults}),
         "sets an attribute and prints the value that it has afterwards",
         "VALUE is one of the possible values; its first four characters, the input's number, are enough."},
        {CommandName::settings, "settings", "", 0, 0, pluginOptionsAnd({&kJson}),
         "the plugin's settings as a property list", kSettingsHelp},
        {CommandName::watch, "watch", "", 0, 0, pluginOptionsAnd({&kJson, &kDefaults}),
         "a line each time the plugin says that its attributes have changed, until interrupted (Ctrl-C)", ""},
        {CommandName::workbench, "workbench", "", 0, 0, pluginOptionsAnd({&kScreenshot, &kDefaults}),
         "a window with the attributes, the plugin's settings view and its log, until it is closed", ""},
        {CommandName::help, "help", "[COMMAND]", 0, 1, {}, "this overview, or all about one command", ""},
    };
    return table;
}

const std::vector<const OptionRow*>& optionTable() {
    static const std::vector<const OptionRow*> table = {&kSettings, &kBundle, &kInterface, &kWait,
                                                        &kVerbose,  &kJson,   &kDefaults,  &kScreenshot};
    return table;
}

const CommandRow* commandWithWord(std::string_view word) {
    const auto& table = commandTable();
    const auto found = std::find_if(table.begin(), table.end(), [&](const auto& row) { return row.word == word; });
    return found != table.end() ? &*found : nullptr;
}

const OptionRow* optionWithName(std::string_view name) {
    const auto& table = optionTable();
    const auto found = std::find_if(table.begin(), table.end(), [&](const auto* row) { return row->name == name; });
    return found != table.end() ? *found : nullptr;
}

const CommandRow& rowOf(CommandName name) {
    const auto& table = commandTable();
    return *std::find_if(table.begin(), table.end(), [&](const auto& row) { return row.name == name; });
}

bool takes(const CommandRow& command, const OptionRow& option) {
    return std::find(command.options.begin(), command.options.end(), &option) != command.options.end();
}

std::string formOf(const CommandRow& command) {
    return std::string(command.word) + (command.arguments.empty() ? "" : " ") + std::string(command.arguments);
}

}  // namespace velmora
