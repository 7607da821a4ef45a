#include "host/terminal/SettingsCommands.h"

#include <optional>
#include <utility>
#include <vector>

#include "host/Console.h"
#include "host/Quotes.h"
#include "host/SettingsCheck.h"
#include "host/SettingsFile.h"
#include "host/SettingsKeys.h"
#include "host/terminal/Json.h"
#include "host/terminal/Report.h"
#include "host/terminal/ServerLabels.h"
#include "platform/foundation/FileContents.h"

namespace velmora {

namespace {

// Of one edit of a file that other programs keep changing.
constexpr int kAttempts = 100;

ExitCode unusable(const Options& options, const std::string& why) {
    Report report(options.json);
    return report.finish(report.fail(ExitCode::unusable, why));
}

// The one in the command's arguments, or the one of the option.
Result<std::filesystem::path> fileOf(const Options& options) {
    if (options.arguments.empty() == !options.settings)
        return Failure{"name the settings file once: as FILE, or with --settings FILE"};
    return options.settings ? *options.settings : std::filesystem::path(options.arguments.front());
}

// The labels of outputs that are added without one. Without an answer, made-up ones will do.
ServerLabels askedLabels(const DictionaryReference& settings, const Options& options) {
    const std::vector<std::int64_t> outputs = outputsWithoutLabel(settings, options.edit);
    if (outputs.empty()) return {};
    const std::string server = options.edit.server.value_or(textForKey(settings, kSelectedDeviceName).value_or(""));
    if (server.empty()) {
        complain("the settings name no switch server to ask for labels (--server); the outputs are numbered instead");
        return {};
    }
    auto answers = labelsOfServer(server, outputs, options.wait);
    if (answers) return *std::move(answers);
    complain("the switch server " + inQuotes(server) + " told no labels: " + answers.failure().reason +
             "; the outputs are numbered instead");
    return {};
}

std::string numberOf(std::size_t count, const char* what) {
    return std::to_string(count) + ' ' + what + (count == 1 ? "" : "s");
}

std::string summaryOf(const DictionaryReference& settings) {
    const ArrayReference outputs = listForKey(settings, kConfiguredOutputs);
    return "no mistakes found: server " + inQuotes(textForKey(settings, kSelectedDeviceName).value_or("")) + ", " +
           numberOf(outputs != nullptr ? outputs->size() : 0, "output");
}

struct Edited {
    bool isNew;
    std::vector<std::string> changes;
    std::vector<std::string> mistakes;
};

Result<Edited> editFile(SettingsFile& file, const SettingsEdit& edit, const ServerLabels& server) {
    const bool isNew = file.isMissing();
    const DictionaryReference settings = file.settings();
    file.setPluginSettings(settings);
    auto changes = changeSettings(settings, edit, server.labels);
    if (!changes) return Failure{changes.failure().reason + "; nothing is changed"};
    // Before it is written: of a key that stands twice, one value is lost.
    auto mistakes = mistakesIn({settings, file.repeatedKeys()}, server.size);
    if (const auto written = file.writeIfChanged(settings); !written) return written.failure();
    return Edited{isNew, *std::move(changes), std::move(mistakes)};
}

Result<PropertyListDocument> documentIn(const std::filesystem::path& file) {
    const Result<std::string> contents = readFile(file, kPropertyListByteLimit);
    if (!contents) return Failure{"the file cannot be read: " + contents.failure().reason};
    auto document = propertyListDocumentWithXML(*contents);
    if (!document) return Failure{"it is no property list: " + document.failure().reason};
    return document;
}

}  // namespace

ExitCode configure(const Options& options) {
    const auto path = fileOf(options);
    if (!path) return unusable(options, path.failure().reason);
    if (options.edit.isEmpty())
        return unusable(options,
                        "nothing to change: give --server, --output, --outputs or --remove; \"velmora-host help "
                        "configure\" explains them");
    std::optional<ServerLabels> server;
    Result<Edited> edited = Failure{};
    for (int attempt = 0; attempt < kAttempts; ++attempt) {
        SettingsFile file(*path);
        if (const auto read = file.read(); !read) return unusable(options, read.failure().reason);
        if (!server) server = askedLabels(file.settings(), options);
        edited = editFile(file, options.edit, *server);
        // What another program has changed since it was read is no reason to fail: the edit goes on top of it.
        if (edited || !file.isChangedOnDisk()) break;
    }
    if (!edited) return unusable(options, edited.failure().reason);
    for (const std::string& mistake : edited->mistakes) {
        complain(mistake);
    }
    if (options.json) {
        printJson({{"changes", jsonValue(edited->changes)}, {"mistakes", jsonValue(edited->mistakes)}});
        return ExitCode::done;
    }
    if (edited->isNew) printLine("new settings file " + inQuotes(path->string()));
    for (const std::string& change : edited->changes) {
        printLine(change);
    }
    if (edited->changes.empty()) printLine("nothing to change");
    return ExitCode::done;
}

ExitCode checkSettings(const Options& options) {
    const auto path = fileOf(options);
    if (!path) return unusable(options, path.failure().reason);
    const auto document = documentIn(*path);
    const auto mistakes =
        document ? mistakesIn(*document, options.matrix) : std::vector<std::string>{document.failure().reason};
    if (options.json) {
        printJson({{"mistakes", jsonValue(mistakes)}});
    } else {
        for (const std::string& mistake : mistakes) {
            printLine(mistake);
        }
        if (mistakes.empty()) printLine(summaryOf(document->value.dictionary()));
    }
    return mistakes.empty() ? ExitCode::done : ExitCode::unusable;
}

}  // namespace velmora
