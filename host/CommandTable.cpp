#include "host/CommandTable.h"

#include <QString>
#include <algorithm>

#include "host/Quotes.h"
#include "platform/foundation/QtText.h"
#include "platform/threads/Moment.h"

namespace velmora {

namespace {

constexpr Seconds kLongestWait = std::chrono::hours(24);
constexpr int kMaximumRepeats = 10'000;
constexpr Seconds kShortestPoll = std::chrono::milliseconds(100);

Result<void> takeFile(std::string_view option, const std::string& value, std::optional<std::filesystem::path>& file) {
    if (value.empty()) return Failure{"--" + std::string(option) + " is given no name"};
    file = value;
    return {};
}

Result<std::chrono::milliseconds> timeOf(const std::string& value, Seconds least) {
    bool isNumber = false;
    const Seconds given(qString(value).toDouble(&isNumber));
    if (!isNumber || !(given >= least && given <= kLongestWait))
        return Failure{"a number of seconds from " + QString::number(least.count()).toStdString() + " to 86400, not " +
                       inQuotes(value)};
    return std::chrono::round<std::chrono::milliseconds>(given);
}

Result<void> takeWait(Options& options, const std::string& value) {
    const auto time = timeOf(value, Seconds(0));
    if (!time) return Failure{"--wait takes " + time.failure().reason};
    options.wait = *time;
    return {};
}

Result<void> takePoll(Options& options, const std::string& value) {
    const auto time = timeOf(value, kShortestPoll);
    if (!time) return Failure{"--poll takes " + time.failure().reason};
    options.poll = *time;
    return {};
}

// For an option without a value.
template <bool Options::*flag>
Result<void> set(Options& options, const std::string&) {
    options.*flag = true;
    return {};
}

constexpr OptionRow kSettings = {
    "settings", "FILE",
    "the property list (XML) that is kept for the plugin: read at the start, written back when the plugin has changed "
    "its settings; keys that it does not know stay. A file that does not exist stands for no saved settings. Probable "
    "mistakes in it are reported. \"velmora-host help settings\" shows what is in it",
    [](Options& options, const std::string& value) { return takeFile("settings", value, options.settings); }};

constexpr OptionRow kBundle = {
    "bundle", "DIR",
    "the plugin's bundle, or its name where \"velmora-host plugins\" finds it; without it the plugin that belongs to "
    "this program",
    [](Options& options, const std::string& value) { return takeFile("bundle", value, options.bundle); }};

constexpr OptionRow kInterface = {
    "interface", "NAME",
    "look for servers on this network interface only (may be repeated), for example: --interface lo",
    [](Options& options, const std::string& value) {
        options.interfaces.push_back(value);
        return Result<void>();
    }};

constexpr OptionRow kWait = {
    "wait", "SECONDS",
    "how long to wait for the server that the settings name and for its attributes (10). A server that was found and "
    "leaves a question unanswered holds the plugin for 10 s all the same; nothing more is asked then. \"status\" and "
    "\"configure\" end within the wait",
    takeWait};

constexpr OptionRow kPoll = {
    "poll", "SECONDS", "also read all values, again this long after each reading, and tell which changed, by whomever",
    takePoll};

constexpr OptionRow kAll = {"all", "", "all attributes", set<&Options::all>};

constexpr OptionRow kDryRun = {"dry-run", "", "set nothing; tell what would change", set<&Options::dryRun>};

constexpr OptionRow kVerbose = {"verbose", "", "show the plugin's log lines", set<&Options::verbose>};

constexpr OptionRow kDefaults = {
    "defaults", "",
    "start the plugin with default routes: each time the server connects, also when it merely restarts or is announced "
    "anew, by whomever, every configured output is routed to its default input and the operator's routes are lost",
    set<&Options::defaults>};

constexpr OptionRow kJson = {
    "json", "",
    "print one JSON document (\"watch\": one a line) instead of text. \"answered\" tells whether the device has "
    "answered for the value, if the plugin knows; \"current\" is null when it has not. \"possible\" is null when the "
    "values are not known. \"output\" and \"input\" are numbers, from 1. \"error\" holds the exit code and the reason "
    "when not all was done",
    set<&Options::json>};

constexpr OptionRow kScreenshot = {
    "screenshot", "FILE",
    "write a picture (PNG) of the window once the attributes are there or the wait is over, and end. Settings are not "
    "saved",
    [](Options& options, const std::string& value) { return takeFile("screenshot", value, options.screenshot); }};

constexpr OptionRow kServer = {
    "server", "NAME", "the switch server to connect to, as it is announced (\"velmora-host servers\" lists them)",
    [](Options& options, const std::string& value) {
        if (value.empty()) return Result<void>(Failure{"--server is given no name"});
        const auto name = textForSettings(value);
        if (!name) return Result<void>(Failure{"--server: " + name.failure().reason});
        options.edit.server = *name;
        return Result<void>();
    }};

constexpr OptionRow kOutput = {
    "output", "N[=LABEL][,default=INPUT]",
    "configure output N, or change its label or default input (may be repeated). A new output without a label gets the "
    "server's, if it answers, and without a default input the one of its own number",
    [](Options& options, const std::string& value) {
        auto edit = outputEditInText(value);
        if (!edit) return Result<void>(Failure{"--output " + value + ": " + edit.failure().reason});
        options.edit.outputs.push_back(*std::move(edit));
        return Result<void>();
    }};

Result<void> takeOutputs(const std::string& value, const char* option, std::vector<std::int64_t>& outputs) {
    const auto numbers = outputsInText(value);
    if (!numbers) return Failure{"--" + std::string(option) + ": " + numbers.failure().reason};
    outputs.insert(outputs.end(), numbers->begin(), numbers->end());
    return {};
}

constexpr OptionRow kOutputs = {
    "outputs", "RANGE",
    "configure all of these, for example: --outputs 1-8,12; those that are configured stay as they are",
    [](Options& options, const std::string& value) {
        std::vector<std::int64_t> outputs;
        const auto taken = takeOutputs(value, "outputs", outputs);
        for (const std::int64_t output : outputs) {
            options.edit.outputs.push_back({output, std::nullopt, std::nullopt});
        }
        return taken;
    }};

constexpr OptionRow kRemove = {
    "remove", "RANGE", "remove these outputs (may be repeated); done before any is added",
    [](Options& options, const std::string& value) { return takeOutputs(value, "remove", options.edit.removals); }};

constexpr OptionRow kMatrix = {"matrix", "INPUTSxOUTPUTS",
                               "the size of the matrix, for example 16x8; what is beyond it is a mistake, too",
                               [](Options& options, const std::string& value) {
                                   const auto size = matrixSizeInText(value);
                                   if (!size) return Result<void>(Failure{"--matrix: " + size.failure().reason});
                                   options.matrix = *size;
                                   return Result<void>();
                               }};

constexpr OptionRow kSetOutput = {
    "set", "OUTPUT",
    "also set this output to the input that it has, to another, and back. Without it no route is changed",
    [](Options& options, const std::string& value) {
        std::vector<std::int64_t> outputs;
        const auto taken = takeOutputs(value, "set", outputs);
        if (taken && outputs.size() != 1) return Result<void>(Failure{"--set takes the number of one output"});
        if (taken) options.trialOutput = outputs.front() + 1;
        return taken;
    }};

constexpr OptionRow kRepeat = {
    "repeat", "N", "ask everything this many times, each time on a fresh connection (1)",
    [](Options& options, const std::string& value) {
        bool isNumber = false;
        options.repeat = qString(value).toInt(&isNumber);
        if (isNumber && options.repeat >= 1 && options.repeat <= kMaximumRepeats) return Result<void>();
        return Result<void>(Failure{"--repeat takes a number from 1 to " + std::to_string(kMaximumRepeats) + ", not " +
                                    inQuotes(value)});
    }};

// Those of every command that loads the plugin, so that they may stand in an alias, and the command's own before them.
std::vector<const OptionRow*> pluginOptionsAnd(std::vector<const OptionRow*> own) {
    own.insert(own.end(), {&kSettings, &kBundle, &kInterface, &kWait, &kVerbose});
    return own;
}

constexpr std::string_view kPluginsHelp =
    "A table of name, version and path; \"* \" marks the one that the other commands load. Bundles are looked for in "
    "the folders that VELMORA_PLUGIN_PATH lists (absolute, with \":\" between them), then beside this program, then "
    "where it was to be installed. Of several with one file name the first counts.";

constexpr std::string_view kNameHelp =
    "NAME is an attribute's name. Its display name or, with a switch plugin, its output's number will do, too, where "
    "it leaves no doubt. Only the outputs that are named are set up, so one of a thousand is read as fast as one of "
    "one; the settings file is not written then.";

constexpr std::string_view kSetHelp =
    "Several values are set in one connection, in this order; each is read back, and a table tells what came of it. "
    "VALUE is one of the possible values; its first four characters, the input's number, are enough, and so is the "
    "number alone. Nothing is set unless each NAME is an attribute and no VALUE could be misread.\n\nNAME is an "
    "attribute's name. Its display name or, with a switch plugin, its output's number will do, too, where it leaves no "
    "doubt: set 2 5, or set Programme=5 Preview=3.";

constexpr std::string_view kApplyHelp =
    R"(FILE, or "-" for standard input, is a text in UTF-8 with one NAME=VALUE on each line, with or without blanks around the "="; blank lines and lines that begin with "#" say nothing. "dump" writes such a file. NAME and VALUE are those of "set".

Nothing is set unless each NAME is an attribute and no VALUE could be misread. Then the values are set in this order, in one connection; each is read back, and a table tells what came of it. When one does not hold, the others are set all the same and the exit code is 1.)";

constexpr std::string_view kWatchHelp =
    R"(A line begins with the time and the event:

  found      the switch server is announced
  connected  to the server, and how many inputs it has
  lost       the connection, and why
  gone       the server is no longer announced
  changed    the plugin's attributes, their names or their possible values
  value      of an attribute, from what to what (with --poll)

Of switch servers only the one that the settings name is told of, or all when they name none. A plugin may list the server that it was connected to even when that is no longer announced; then the line is "lost" alone. Ends with Ctrl-C, or when nobody reads its output any more.)";

constexpr std::string_view kStatusHelp =
    R"(One line, or one JSON document on one line, as soon as it is known and within the wait. Of the server that the settings name:

  connected  it has accepted a connection and told the size of its matrix; exit code 0
  lost       it is announced, but there is no connection, with the reason; exit code 1
  absent     it was not found; exit code 3)";

Result<void> checkGet(const Options& options) {
    if (options.all == options.arguments.empty()) return {};
    return Failure{"\"get\" takes either names or --all"};
}

// Of two words the attributes decide: a name may hold "=".
Result<void> checkSet(const Options& options) {
    return options.arguments.size() == 2 ? Result<void>() : checkSteps(options.arguments);
}

constexpr std::string_view kCheckServerHelp =
    R"(Talks to the server as the plugin does, one command at a time on a connection of its own, and prints a line for each thing that it looks at: ok, a note (the plugin can do with it) or a problem, with what came and what the plugin makes of it. The times of the replies follow as bars, then what was left out, and last whether the plugin can work with this server. The plugin is not loaded, and no route is changed without --set.

NAME is found by discovery; without one it is the server that the settings name (--settings). HOST:PORT needs no discovery; HOST is an address, "localhost", a name with a dot, or any in brackets: [::1]:4000, [router]:4000. Exit code 0 without problems, 1 with some, 2 for wrong usage, 3 when the server was not found or takes no connection.

--wait bounds the search, and again all of the questions; changing a route and putting it back may take ten seconds each more; Ctrl-C waits for that. What there was no time for is left out and said.

With --json: "checks" (each with "check", "result", "text", and of a note or problem "finding" and "times"), "replyTimes" (in seconds, with "histogram"), "leftOut", "usable", "conclusion", "server" and "address".

docs/wire-protocol.md tells what a server should do.)";

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
        {CommandName::plugins, "plugins", "", 0, 0, pluginOptionsAnd({&kJson}),
         "the plugins that this program finds, without loading them", kPluginsHelp},
        {CommandName::servers, "servers", "", 0, 0, pluginOptionsAnd({&kJson, &kDefaults}),
         "the switch servers on the network",
         "One a line; \"* \" marks the one that the settings name. Without such a name the command waits until any "
         "server is found."},
        {CommandName::status, "status", "", 0, 0, pluginOptionsAnd({&kJson}),
         "whether the switch server answers, for monitoring systems", kStatusHelp},
        {CommandName::attributes, "attributes", "", 0, 0, pluginOptionsAnd({&kJson, &kDefaults}),
         "a table of the plugin's attributes, each with the value that the switcher has now", ""},
        {CommandName::possible, "possible", "NAME", 1, 1, pluginOptionsAnd({&kJson, &kDefaults}),
         "the values that an attribute can be set to, one a line", kNameHelp},
        {CommandName::get, "get", "NAME...", 0, kAnyNumber, pluginOptionsAnd({&kAll, &kJson, &kDefaults}),
         "the values that attributes have now: of one alone, of several in a table", kNameHelp, checkGet},
        {CommandName::set, "set", "NAME=VALUE...", 1, kAnyNumber, pluginOptionsAnd({&kJson, &kDefaults}),
         "sets attributes and prints their values afterwards; also: set NAME VALUE", kSetHelp, checkSet},
        {CommandName::apply, "apply", "FILE", 1, 1, pluginOptionsAnd({&kDryRun, &kJson}), "sets the values of a salvo",
         kApplyHelp},
        {CommandName::dump, "dump", "", 0, 0, pluginOptionsAnd({&kJson}),
         "the current values as a salvo, which \"apply\" takes",
         "A value that is not known becomes a comment, and the exit code is 1. With --json: \"server\", \"time\" and "
         "\"steps\", each with the \"value\" that brings it back, or null; a program makes of them the lines "
         "NAME=VALUE that \"apply\" takes."},
        {CommandName::watch, "watch", "", 0, 0, pluginOptionsAnd({&kPoll, &kJson, &kDefaults}),
         "a line each time something happens, until interrupted (Ctrl-C)", kWatchHelp},
        {CommandName::settings, "settings", "", 0, 0, pluginOptionsAnd({&kJson}),
         "the plugin's settings as a property list", kSettingsHelp},
        {CommandName::configure, "configure", "[FILE]", 0, 1,
         pluginOptionsAnd({&kServer, &kOutput, &kOutputs, &kRemove, &kJson}),
         "changes a settings file, or makes a new one, and prints what has changed",
         "FILE may be given as --settings FILE instead. Outputs and inputs count from 1. What the options do not name "
         "stays, keys that the plugin does not know included; comments in the file are lost. The switch server is "
         "asked for labels only, and only when one is missing; the plugin is not loaded. What others change in the "
         "file meanwhile stays, too.\n\nFor example: velmora-host configure --server \"Studio 1\" --output "
         "1=Programme,default=3 --outputs 2-8 studio.plist"},
        {CommandName::checkSettings, "check-settings", "[FILE]", 0, 1, pluginOptionsAnd({&kMatrix, &kJson}),
         "looks for mistakes in a settings file",
         "One a line, with entry and key; exit code 2 when there are any. FILE may be given as --settings FILE "
         "instead. "
         "Looks at nothing but the file."},
        {CommandName::checkServer, "check-server", "[NAME | HOST:PORT]", 0, 1,
         pluginOptionsAnd({&kSetOutput, &kRepeat, &kJson}), "what the plugin would stumble over at a switch server",
         kCheckServerHelp},
        {CommandName::workbench, "workbench", "", 0, 0, pluginOptionsAnd({&kScreenshot, &kDefaults}),
         "a window with the attributes, the plugin's settings view and its log, until it is closed", ""},
        {CommandName::help, "help", "[COMMAND]", 0, 1, {}, "this overview, or all about one command", ""},
    };
    return table;
}

const std::vector<const OptionRow*>& optionTable() {
    static const std::vector<const OptionRow*> table = {
        &kSettings, &kBundle,     &kInterface, &kWait,   &kVerbose, &kJson,   &kDefaults, &kAll,       &kDryRun,
        &kPoll,     &kScreenshot, &kServer,    &kOutput, &kOutputs, &kRemove, &kMatrix,   &kSetOutput, &kRepeat};
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

Result<void> checkSteps(const std::vector<std::string>& words) {
    for (const std::string& word : words) {
        if (word.find('=') == std::string::npos)
            return Failure{"the command is \"set NAME VALUE\" or \"set NAME=VALUE...\", and there is no \"=\" in " +
                           inQuotes(word)};
    }
    return {};
}

bool takes(const CommandRow& command, const OptionRow& option) {
    return std::find(command.options.begin(), command.options.end(), &option) != command.options.end();
}

std::string formOf(const CommandRow& command) {
    return std::string(command.word) + (command.arguments.empty() ? "" : " ") + std::string(command.arguments);
}

}  // namespace velmora
