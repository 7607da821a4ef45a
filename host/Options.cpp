#include "host/Options.h"

#include <QCommandLineParser>
#include <QStringList>
#include <algorithm>
#include <array>
#include <cmath>

#include "host/Console.h"
#include "platform/foundation/QtText.h"
#include "platform/foundation/Text.h"

namespace velmora {

namespace {

constexpr double kLongestWait = 24.0 * 60.0 * 60.0;  // seconds

struct CommandForm {
    const char* name;
    CommandName command;
    qsizetype arguments;
    const char* form;
};

constexpr std::array kCommands = {
    CommandForm{"servers", CommandName::servers, 0, "servers"},
    CommandForm{"attributes", CommandName::attributes, 0, "attributes"},
    CommandForm{"possible", CommandName::possible, 1, "possible NAME"},
    CommandForm{"get", CommandName::get, 1, "get NAME"},
    CommandForm{"set", CommandName::set, 2, "set NAME VALUE"},
    CommandForm{"settings", CommandName::settings, 0, "settings"},
    CommandForm{"watch", CommandName::watch, 0, "watch"},
    CommandForm{"workbench", CommandName::workbench, 0, "workbench"},
};

constexpr const char* kHelp =
    R"(velmora-host - loads the Velmora Switch plugin as an automation host does, and uses it from the command line.

Usage: velmora-host [OPTIONS] COMMAND [ARGUMENTS]

Commands:
  servers           the switch servers on the network, one a line; "* " stands before the one that the settings select
  attributes        a table of the plugin's attributes, each with the value that the switcher has now
  possible NAME     the values that the attribute NAME can be set to, one a line
  get NAME          the value that the attribute NAME has now
  set NAME VALUE    sets the attribute NAME and prints the value that it has then. VALUE is one of the possible values; its
                    first four characters, the input's number, are enough
  settings          the plugin's settings as a property list; does not look at the network
  watch             one line each time the plugin says that its attributes have changed, until interrupted (Ctrl-C)
  workbench         a window with the attributes, the plugin's settings view and its log, until it is closed

Options:
  --settings FILE   the property list (XML) that is kept for the plugin: read at the start, written back when the plugin has
                    changed its settings; keys that it does not know stay. A file that does not exist stands for no saved
                    settings. What in it is probably not meant is told
  --bundle DIR      the plugin's bundle; without it the one that was built or installed with this program
  --interface NAME  look for servers on this network interface only (may be repeated), for example: --interface lo
  --defaults        start the plugin with default routes: each time the server connects, also when it merely restarts or is
                    announced anew, by whomever, every configured output is routed to its default input over the operator's
                    routes
  --wait SECONDS    how long to wait for the server that the settings name and for its attributes (10). "servers" without
                    such a name waits until any server is found
  --screenshot FILE of "workbench": write a picture (PNG) of the window once the attributes are there or the wait is over,
                    and end. Settings are not saved
  --json            print one JSON document ("watch": one a line) instead of text. "answered" tells whether the device has
                    answered for the value, where the plugin knows; "current" is null when it has not
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

Exit codes: 0 done; 1 refused by the plugin, no such attribute, or not answered for by the device as it should be; 2 wrong
usage, a file that cannot be read or written, or a bundle that cannot be loaded; 3 timed out.
)";

EarlyEnd wrongUsage(const std::string& what) {
    return {ExitCode::unusable, what + "; \"velmora-host --help\" explains commands and options"};
}

std::optional<std::chrono::milliseconds> milliseconds(const QString& text) {
    bool isNumber = false;
    const double seconds = text.toDouble(&isNumber);
    if (!isNumber || !std::isfinite(seconds) || seconds < 0.0 || seconds > kLongestWait) return std::nullopt;
    return std::chrono::milliseconds(std::llround(seconds * 1000.0));
}

}  // namespace

std::variant<Options, EarlyEnd> parseOptions(int argc, const char* const* argv) {
    QStringList words;
    for (int i = 0; i < argc; ++i) {
        if (!isValidUTF8(argv[i])) return wrongUsage("an argument is not UTF-8: " + inQuotes(argv[i]));
        words << qString(argv[i]);
    }
    QCommandLineParser parser;
    parser.addOptions({{"settings", "", "FILE"},
                       {"bundle", "", "DIR"},
                       {"interface", "", "NAME"},
                       {"wait", "", "SECONDS"},
                       {"screenshot", "", "FILE"}});
    parser.addOptions({{"defaults", ""}, {"json", ""}, {"verbose", ""}, {{"h", "help"}, ""}, {"version", ""}});
    if (!parser.parse(words)) {
        QString error = parser.errorText();
        if (error.endsWith('.')) error.chop(1);
        return wrongUsage(error.toStdString());
    }
    if (parser.isSet("help")) return EarlyEnd{ExitCode::done, kHelp};
    if (parser.isSet("version")) return EarlyEnd{ExitCode::done, "velmora-host " VELMORA_VERSION "\n"};

    QStringList arguments = parser.positionalArguments();
    if (arguments.isEmpty()) return wrongUsage("no command given");
    const std::string name = arguments.takeFirst().toStdString();
    const auto* const form =
        std::find_if(kCommands.begin(), kCommands.end(), [&](const auto& known) { return name == known.name; });
    if (form == kCommands.end()) return wrongUsage("there is no command " + inQuotes(name));
    if (arguments.size() != form->arguments) return wrongUsage(std::string("the command is \"") + form->form + '"');

    Options options;
    options.command = form->command;
    for (const QString& argument : arguments) {
        options.arguments.push_back(argument.toStdString());
    }
    if (parser.isSet("bundle")) options.bundle = parser.value("bundle").toStdString();
    if (parser.isSet("settings")) options.settings = parser.value("settings").toStdString();
    for (const QString& interface : parser.values("interface")) {
        options.interfaces.push_back(interface.toStdString());
    }
    if (parser.isSet("wait")) {
        const auto wait = milliseconds(parser.value("wait"));
        if (!wait)
            return wrongUsage("--wait takes a number of seconds from 0 to 86400, not " +
                              inQuotes(parser.value("wait").toStdString()));
        options.wait = *wait;
    }
    if (parser.isSet("screenshot")) {
        if (options.command != CommandName::workbench) return wrongUsage("--screenshot is an option of \"workbench\"");
        options.screenshot = parser.value("screenshot").toStdString();
    }
    options.defaults = parser.isSet("defaults");
    options.json = parser.isSet("json");
    options.verbose = parser.isSet("verbose");
    return options;
}

}  // namespace velmora
