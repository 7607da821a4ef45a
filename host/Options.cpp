#include "host/Options.h"

#include <QCommandLineParser>
#include <QStringList>
#include <algorithm>
#include <array>

#include "host/Quotes.h"
#include "platform/foundation/CommandLine.h"
#include "platform/foundation/Joined.h"
#include "platform/threads/Moment.h"

namespace velmora {

namespace {

constexpr Seconds kLongestWait = std::chrono::hours(24);

// The form of each command, in the order of CommandName.
constexpr std::array<std::string_view, 8> kCommands = {"servers",        "attributes", "possible NAME", "get NAME",
                                                       "set NAME VALUE", "settings",   "watch",         "workbench"};

constexpr const char* kHelp =
    R"(velmora-host - loads the Velmora Switch plugin as an automation host does, and uses it from the command line.

Usage: velmora-host [OPTIONS] COMMAND [ARGUMENTS]

Commands:
  servers           the switch servers on the network, one a line; "* " marks the one that the settings name
  attributes        a table of the plugin's attributes, each with the value that the switcher has now
  possible NAME     the values that the attribute NAME can be set to, one a line
  get NAME          the value that the attribute NAME has now
  set NAME VALUE    sets the attribute NAME and prints the value that it has afterwards. VALUE is one of the possible
                    values; its first four characters, the input's number, are enough
  settings          the plugin's settings as a property list; does not look at the network
  watch             one line each time the plugin says that its attributes have changed, until interrupted (Ctrl-C)
  workbench         a window with the attributes, the plugin's settings view and its log, until it is closed

Options:
  --settings FILE   the property list (XML) that is kept for the plugin: read at the start, written back when the plugin has
                    changed its settings; keys that it does not know stay. A file that does not exist stands for no saved
                    settings. Probable mistakes in it are reported
  --bundle DIR      the plugin's bundle; without it the one that was built or installed with this program
  --interface NAME  look for servers on this network interface only (may be repeated), for example: --interface lo
  --defaults        start the plugin with default routes: each time the server connects, also when it merely restarts or is
                    announced anew, by whomever, every configured output is routed to its default input and the operator's
                    routes are lost
  --wait SECONDS    how long to wait for the server that the settings name and for its attributes (10). "servers" without
                    such a name waits until any server is found
  --screenshot FILE with "workbench": write a picture (PNG) of the window once the attributes are there or the wait is over,
                    and end. Settings are not saved
  --json            print one JSON document ("watch": one a line) instead of text. "answered" tells whether the device has
                    answered for the value, if the plugin knows; "current" is null when it has not. "possible" is null when
                    the values are not known
  --verbose         show the plugin's log lines
  --help            this text
  --version         the program's version
  --                ends the options, for a NAME or VALUE that begins with "-"

The settings file names a switch server and lists the outputs that become attributes. Outputs and inputs count from 0 here, and
from 1 in attribute names and values:

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
  </plist>

Results go to standard output, everything else to standard error.

Exit codes: 0 done; 1 refused by the plugin, no such attribute, or no proper answer from the device; 2 wrong usage, a file
that cannot be read or written, or a bundle that cannot be loaded; 3 timed out.
)";

Failure wrongUsage(const std::string& what) {
    return {what + "; \"velmora-host --help\" explains commands and options"};
}

// None when it is no number of seconds, or one out of range.
std::optional<std::chrono::milliseconds> waitingTime(const QString& text) {
    bool isNumber = false;
    const Seconds time(text.toDouble(&isNumber));
    if (!isNumber || !(time >= Seconds(0) && time <= kLongestWait)) return std::nullopt;
    return std::chrono::round<std::chrono::milliseconds>(time);
}

// The command and its arguments, in the order of the command line.
Result<void> takeCommand(QStringList words, Options& options) {
    const std::string known = "; the commands are: " + joined(kCommands);
    if (words.isEmpty()) return wrongUsage("no command given" + known);
    const std::string name = words.takeFirst().toStdString();
    const auto* const form = std::find_if(kCommands.begin(), kCommands.end(), [&](std::string_view each) {
        return name == each.substr(0, each.find(' '));
    });
    if (form == kCommands.end()) return wrongUsage("there is no command " + inQuotes(name) + known);
    if (words.size() != std::count(form->begin(), form->end(), ' '))
        return wrongUsage("the command is " + inQuotes(*form));
    options.command = static_cast<CommandName>(form - kCommands.begin());
    for (const QString& word : words) {
        options.arguments.push_back(word.toStdString());
    }
    return {};
}

Result<void> takeFile(const QCommandLineParser& parser, const char* name, std::optional<std::filesystem::path>& file) {
    if (!parser.isSet(name)) return {};
    if (parser.value(name).isEmpty()) return wrongUsage(std::string("--") + name + " is given no name");
    file = parser.value(name).toStdString();
    return {};
}

Result<void> takeWait(const QCommandLineParser& parser, std::chrono::milliseconds& wait) {
    if (!parser.isSet("wait")) return {};
    const auto time = waitingTime(parser.value("wait"));
    if (!time)
        return wrongUsage("--wait takes a number of seconds from 0 to 86400, not " +
                          inQuotes(parser.value("wait").toStdString()));
    wait = *time;
    return {};
}

}  // namespace

Result<Options> parseOptions(int argc, const char* const* argv) {
    const Result<QStringList> words = wordsOfCommandLine(argc, argv);
    if (!words) return wrongUsage(words.failure().reason);
    QCommandLineParser parser;
    parser.addOptions({{"settings", "", "FILE"},
                       {"bundle", "", "DIR"},
                       {"interface", "", "NAME"},
                       {"wait", "", "SECONDS"},
                       {"screenshot", "", "FILE"}});
    parser.addOptions({{"defaults", ""}, {"json", ""}, {"verbose", ""}, {{"h", "help"}, ""}, {"version", ""}});
    if (!parser.parse(*words)) {
        QString error = parser.errorText();
        if (error.endsWith('.')) error.chop(1);
        return wrongUsage(error.toStdString());
    }
    Options options;
    if (parser.isSet("help")) {
        options.information = kHelp;
        return options;
    }
    if (parser.isSet("version")) {
        options.information = "velmora-host " VELMORA_VERSION "\n";
        return options;
    }
    if (const auto taken = takeCommand(parser.positionalArguments(), options); !taken) return taken.failure();
    if (const auto taken = takeFile(parser, "bundle", options.bundle); !taken) return taken.failure();
    if (const auto taken = takeFile(parser, "settings", options.settings); !taken) return taken.failure();
    if (const auto taken = takeFile(parser, "screenshot", options.screenshot); !taken) return taken.failure();
    if (const auto taken = takeWait(parser, options.wait); !taken) return taken.failure();
    if (options.screenshot && options.command != CommandName::workbench)
        return wrongUsage("--screenshot is an option of \"workbench\"");
    for (const QString& interface : parser.values("interface")) {
        options.interfaces.push_back(interface.toStdString());
    }
    options.defaults = parser.isSet("defaults");
    options.json = parser.isSet("json");
    options.verbose = parser.isSet("verbose");
    return options;
}

}  // namespace velmora
