#include "plugincheck/Options.h"

#include <net/if.h>

#include <QCommandLineParser>
#include <algorithm>
#include <charconv>
#include <optional>
#include <string_view>
#include <utility>

#include "platform/foundation/CommandLine.h"
#include "platform/foundation/NearestWord.h"
#include "platform/foundation/PropertyListXML.h"
#include "platform/foundation/Text.h"
#include "plugincheck/Check.h"

namespace velmora {

namespace {

constexpr const char* kHelp = R"(Usage: velmora-plugin-check [OPTION...] BUNDLE
Tries a node plugin as a host may use it and as it should not, and tells what does not hold. Each check
has a process of its own, so that a plugin that crashes or hangs fails the check and ends nothing else.

  --list            Show the names of the checks and what each one tries.
  --only NAME       Make only this check. May be given several times.
  --settings FILE   Hand the plugin the settings in this file, an XML property list, which is only read.
  --wait SECONDS    How long to wait for attributes, notices and a connection. Default: 2.
  --limit SECONDS   The longest time that one operation may take. Default: 12.
  --interface NAME  Discover services on this network interface only. May be given several times.
  --set             Also set attributes to the value that they have, and start the plugin with default
                    values. Without it nothing is set and the plugin is started without.
  --json            Print one JSON document: "bundle", "holds", and in "checks" for each check "name",
                    "outcome" ("ok", "failed" or "notApplicable"), "reason" and "seconds".
  --verbose         Show on standard error what the plugin prints and logs.
  --help, --version

Each check gets a line: "ok", "FAILED" with its reason, or "not applicable" with why it could not be
made: such a check says nothing about the plugin. Look-ups must return within 2 seconds. The program itself
sends nothing over the network, but the plugin may. Windows are opened on an invisible screen
(QT_QPA_PLATFORM=offscreen) unless the environment names another.

Exit codes: 0 all checks hold that could be made, 1 one failed or none could be made, 2 wrong usage or a
file that cannot be read.
)";

QList<QCommandLineOption> allOptions() {
    return {{"list", ""},
            {"only", "", "NAME"},
            {"settings", "", "FILE"},
            {"wait", "", "SECONDS"},
            {"limit", "", "SECONDS"},
            {"interface", "", "NAME"},
            {"set", ""},
            {"json", ""},
            {"verbose", ""},
            {{"h", "help"}, ""},
            {"version", ""},
            {kInsideOption, "", "NAME"}};
}

Failure wrongUsage(const std::string& what) {
    return {what + "; \"velmora-plugin-check --help\" explains the options"};
}

std::string guess(const std::string& typed, const std::vector<std::string>& words, const char* dashes) {
    const std::vector<std::string_view> known(words.begin(), words.end());
    const auto nearest = nearestWord(typed, known);
    return nearest ? stringWithFormat(" (did you mean \"%@%@\"?)", dashes, std::string(*nearest)) : "";
}

// Without its full stop; with a mistyped option the one that was probably meant.
Failure complaintOf(const QCommandLineParser& parser) {
    std::string complaint = parser.errorText().toStdString();
    if (complaint.ends_with('.')) complaint.pop_back();
    const QStringList unknown = parser.unknownOptionNames();
    if (unknown.isEmpty()) return wrongUsage(complaint);
    std::vector<std::string> names;
    for (const QCommandLineOption& option : allOptions()) {
        if (option.names().last() != kInsideOption) names.push_back(option.names().last().toStdString());
    }
    return wrongUsage(complaint + guess(unknown.first().toStdString(), names, "--"));
}

std::string listOfChecks() {
    std::string list;
    for (const Check& check : allChecks()) {
        list += stringWithFormat("%@: %@\n", check.name, check.description);
    }
    return list;
}

Result<std::chrono::milliseconds> timeOf(const QCommandLineParser& parser, const char* name,
                                         std::chrono::milliseconds usual) {
    constexpr double kMostSeconds = 3600;
    if (!parser.isSet(name)) return usual;
    const std::string text = parser.value(name).toStdString();
    double seconds = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), seconds);
    if (error != std::errc() || end != text.data() + text.size() || !(seconds > 0 && seconds <= kMostSeconds)) {
        return wrongUsage(
            stringWithFormat("--%@ takes a number of seconds above 0, at most 3600, not \"%@\"", name, text));
    }
    return std::chrono::milliseconds(static_cast<std::int64_t>(seconds * 1000));
}

Result<DictionaryReference> settingsIn(const std::filesystem::path& file) {
    const auto read = propertyListWithContentsOfFile(file);
    if (!read) return read.failure();
    const DictionaryReference settings = read->dictionary();
    if (settings == nullptr) return Failure{stringWithFormat("%@ does not hold a dictionary", file.string())};
    return settings;
}

Result<void> readNames(const QCommandLineParser& parser, CheckOptions& options) {
    for (const QString& value : parser.values("only")) {
        const std::string name = value.toStdString();
        if (findCheck(name) == nullptr) {
            std::vector<std::string> names;
            for (const Check& check : allChecks()) {
                names.emplace_back(check.name);
            }
            return Failure{
                stringWithFormat("there is no check \"%@\"%@; --list shows them", name, guess(name, names, ""))};
        }
        options.only.push_back(name);
    }
    for (const QString& value : parser.values("interface")) {
        options.interfaces.push_back(value.toStdString());
        if (if_nametoindex(options.interfaces.back().c_str()) == 0) {
            return Failure{stringWithFormat("there is no network interface \"%@\"", options.interfaces.back())};
        }
    }
    return {};
}

Result<CheckOptions> readOptions(const QCommandLineParser& parser) {
    CheckOptions options;
    options.set = parser.isSet("set");
    options.json = parser.isSet("json");
    options.verbose = parser.isSet("verbose");
    options.inside = parser.value(kInsideOption).toStdString();
    if (const auto read = readNames(parser, options); !read) return read.failure();
    const auto wait = timeOf(parser, "wait", kUsualPatience);
    if (!wait) return wait.failure();
    const auto operationTime = timeOf(parser, "limit", kUsualOperationTime);
    if (!operationTime) return operationTime.failure();
    options.wait = *wait;
    options.operationTime = *operationTime;
    if (parser.isSet("settings")) {
        const auto settings = settingsIn(parser.value("settings").toStdString());
        if (!settings) return settings.failure();
        options.settings = *settings;
    }
    const QStringList bundles = parser.positionalArguments();
    if (bundles.size() != 1) return wrongUsage("it takes one BUNDLE, the folder of a plugin");
    options.bundle = bundles.first().toStdString();
    std::error_code fault;
    if (!std::filesystem::is_directory(options.bundle, fault)) {
        return Failure{stringWithFormat("there is no bundle at \"%@\"; a bundle is a folder", options.bundle.string())};
    }
    return options;
}

CheckOptions information(std::string text) {
    CheckOptions options;
    options.information = std::move(text);
    return options;
}

}  // namespace

Result<CheckOptions> parseCheckOptions(int argc, const char* const* argv) {
    const Result<QStringList> words = wordsOfCommandLine(argc, argv);
    if (!words) return words.failure();
    QCommandLineParser parser;
    parser.addOptions(allOptions());
    if (!parser.parse(*words)) return complaintOf(parser);
    if (parser.isSet("help")) return information(kHelp);
    if (parser.isSet("version")) return information("velmora-plugin-check " VELMORA_VERSION "\n");
    if (parser.isSet("list")) return information(listOfChecks());
    return readOptions(parser);
}

}  // namespace velmora
