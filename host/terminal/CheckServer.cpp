#include "host/terminal/CheckServer.h"

#include <QJsonArray>
#include <algorithm>
#include <cmath>
#include <csignal>
#include <optional>

#include "host/Console.h"
#include "host/Patience.h"
#include "host/Quotes.h"
#include "host/SettingsFile.h"
#include "host/SettingsKeys.h"
#include "host/terminal/Json.h"
#include "host/terminal/Report.h"
#include "host/terminal/servercheck/ServerCheck.h"
#include "host/terminal/servercheck/ServerSearch.h"
#include "platform/threads/Interruption.h"

namespace velmora {

namespace {

constexpr std::size_t kNameColumns = 10;
constexpr std::size_t kBarColumns = 40;

// The one in the arguments, or the one in the settings.
Result<std::string> serverOf(const Options& options) {
    if (!options.arguments.empty()) {
        if (options.arguments.front().empty()) return Failure{"the server is given no name"};
        return options.arguments.front();
    }
    SettingsFile file(options.settings);
    if (const auto read = file.read(); !read) return read.failure();
    const std::string name = textForKey(file.settings(), kSelectedDeviceName).value_or("");
    if (name.empty()) return Failure{"name the switch server, or a settings file that names one (--settings)"};
    return name;
}

std::string timesSummary(const ReplyTimes& times) {
    return (times.count() == 1 ? "1 reply" : std::to_string(times.count()) + " replies") + ": the shortest time " +
           timeText(times.quantile(0)) + ", median " + timeText(times.quantile(0.5)) + ", 95 % within " +
           timeText(times.quantile(0.95)) + ", the longest " + timeText(times.quantile(1));
}

std::string boundText(Seconds below) {
    return std::isinf(below.count()) ? "more" : "below " + timeText(below);
}

// Whether what is good about it remains true whatever notes there are.
bool holdsBesideNotes(Check check) {
    return check == Check::address || check == Check::size || check == Check::labels;
}

// What is said about one server.
class CheckReport {
  public:
    CheckReport(const ServerCheck& check, const Findings& findings) : check_(check), findings_(findings) {}

    void print() const {
        eachLine([](const char* result, Check check, const std::string& text, const Findings::Entry*) {
            std::string line = result;
            line.resize(kNameColumns - 1, ' ');
            line += nameOf(check);
            printLine(line + std::string(2 * kNameColumns - 1 - std::min(line.size(), 2 * kNameColumns - 2), ' ') +
                      text);
        });
        printHistogram();
        for (const std::string& what : check_.leftOut()) {
            printLine("left out: " + what);
        }
        printLine(conclusion());
    }

    QJsonObject document() const {
        QJsonArray checks;
        eachLine([&](const char* result, Check check, const std::string& text, const Findings::Entry* entry) {
            QJsonObject line{{"check", nameOf(check)}, {"result", result}, {"text", jsonValue(text)}};
            if (entry != nullptr) line.insert("finding", entry->row->name);
            if (entry != nullptr) line.insert("times", static_cast<qint64>(entry->times));
            checks.append(line);
        });
        return {{"address", jsonValue(check_.address().text())},
                {"checks", checks},
                {"conclusion", jsonValue(conclusion())},
                {"leftOut", jsonValue(check_.leftOut())},
                {"replyTimes", replyTimes()},
                {"usable", findings_.problems() == 0}};
    }

    std::string conclusion() const {
        const auto* const problem = findings_.firstProblem();
        if (problem == nullptr) {
            return check_.leftOut().empty() ? "The plugin can work with this server."
                                            : "The plugin can work with this server, as far as it was asked.";
        }
        const auto others = findings_.problems() - 1;
        return "The plugin would stumble over this server: " + problem->what +
               (others > 0 ? " (and " + std::to_string(others) + (others > 1 ? " more problems)." : " more problem).")
                           : ".");
    }

  private:
    template <typename Line>
    void eachLine(const Line& line) const {
        for (int i = 0; i < kCheckCount; ++i) {
            const auto check = static_cast<Check>(i);
            const auto entries = findings_.of(check);
            for (const auto& entry : entries) {
                line(entry.row->isProblem ? "problem" : "note", check, entry.text(), &entry);
            }
            const bool isGood = std::ranges::none_of(entries, [](const auto& entry) { return entry.row->isProblem; });
            const bool isFigure = check == Check::times && check_.times().count() > 0;
            const std::string good = isFigure ? timesSummary(check_.times()) : check_.good(check);
            const bool isSaid = entries.empty() || isFigure || (isGood && holdsBesideNotes(check));
            if (isSaid && !good.empty()) line("ok", check, good, nullptr);
        }
    }

    void printHistogram() const {
        const auto bars = check_.times().histogram();
        std::size_t most = 1;
        for (const auto& bar : bars) {
            most = std::max(most, bar.count);
        }
        for (const auto& bar : bars) {
            const std::size_t length = (bar.count * kBarColumns + most - 1) / most;
            std::string line(2 * kNameColumns - 1, ' ');
            line += boundText(bar.below);
            line.resize(3 * kNameColumns + 4, ' ');
            const std::string count = std::to_string(bar.count);
            line += std::string(count.size() < 7 ? 7 - count.size() : 0, ' ') + count;
            printLine(line + (length > 0 ? "  " + std::string(length, '#') : ""));
        }
    }

    QJsonObject replyTimes() const {
        const ReplyTimes& times = check_.times();
        if (times.count() == 0) return {{"count", 0}};
        QJsonArray bars;
        for (const auto& bar : times.histogram()) {
            const bool isLast = std::isinf(bar.below.count());
            bars.append(QJsonObject{{"below", isLast ? QJsonValue() : QJsonValue(bar.below.count())},
                                    {"count", static_cast<qint64>(bar.count)}});
        }
        return {{"count", static_cast<qint64>(times.count())}, {"minimum", times.quantile(0).count()},
                {"median", times.quantile(0.5).count()},       {"within95Percent", times.quantile(0.95).count()},
                {"maximum", times.quantile(1).count()},        {"histogram", bars}};
    }

    const ServerCheck& check_;
    const Findings& findings_;
};

// Where the server in the arguments is; none where it has to be found by its name, as the one in the settings always.
Result<std::optional<HostAndPort>> placeOf(const Options& options) {
    if (options.arguments.empty()) return std::optional<HostAndPort>();
    return hostAndPortInText(options.arguments.front());
}

// For a person who meant a host.
const char* hintFor(const Options& options) {
    const bool hasColon = !options.arguments.empty() && options.arguments.front().find(':') != std::string::npos;
    return hasColon ? "; a host of a single word goes in brackets, such as [router]:4000" : "";
}

// A signal waits until the route is back. It is given back for the end of the program; 0 for none.
int trySet(ServerCheck& check, std::int64_t output) {
    const Interruption held([] {}, Interruption::Second::callsAgain);
    const Patience patience(held, "the route is put back first, then all is told; that may take a while");
    check.trySet(output);
    return held.signal();
}

}  // namespace

ExitCode checkServer(const Options& options) {
    Report report(options.json);
    const auto fail = [&](ExitCode code, const std::string& why) { return report.finish(report.fail(code, why)); };
    const auto server = serverOf(options);
    if (!server) return fail(ExitCode::unusable, server.failure().reason);
    const Date end = fromNow(options.wait);
    const auto place = placeOf(options);
    if (!place) return fail(ExitCode::unusable, place.failure().reason);
    std::optional<ServerSearch> search;
    if (!*place) search.emplace(*server);
    const auto addresses = *place ? addressesOf(**place, end) : search->addresses(options.wait);
    if (!addresses) return fail(ExitCode::timedOut, addresses.failure().reason + (search ? hintFor(options) : ""));
    ServerCheck check(*addresses, fromNow(options.wait));
    if (const auto run = check.run(options.repeat); !run)
        return fail(ExitCode::timedOut, inQuotes(*server) + " cannot be reached: " + run.failure().reason);
    if (check.times().count() == 0 && check.findings().problems() == 0)
        return fail(ExitCode::timedOut, "there was no time to ask " + inQuotes(*server) + " anything (--wait)");
    const int signal = options.trialOutput ? trySet(check, *options.trialOutput) : 0;
    if (search && search->wasAnnouncedAnew())
        check.findings().note(Finding::announcedAnew, "it was announced anew during the check");
    const CheckReport result(check, check.findings());
    const ExitCode code = check.findings().problems() > 0 ? ExitCode::refused : ExitCode::done;
    if (options.json) {
        if (code != ExitCode::done) report.complain(result.conclusion());
        QJsonObject document = result.document();
        document.insert("server", jsonValue(*server));
        report.print(document, code);
    } else {
        result.print();
    }
    if (signal != 0) std::raise(signal);
    return code;
}

}  // namespace velmora
