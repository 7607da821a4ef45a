#include "plugincheck/Results.h"

#include <QJsonArray>
#include <QJsonObject>
#include <algorithm>

#include "host/Console.h"
#include "platform/foundation/JsonText.h"
#include "platform/foundation/QtText.h"
#include "platform/foundation/Text.h"

namespace velmora {

namespace {

std::string lineOf(const char* name, const Verdict& verdict) {
    if (verdict.outcome == Outcome::ok) return stringWithFormat("ok  %@", name);
    const char* const word = verdict.outcome == Outcome::failed ? "FAILED" : "not applicable";
    return stringWithFormat("%@  %@: %@", word, name, verdict.reason);
}

// In the order of Outcome.
constexpr const char* kOutcomes[] = {"ok", "failed", "notApplicable"};

}  // namespace

void Results::add(const Check& check, const Verdict& verdict) {
    results_.push_back({check.name, verdict});
    if (!json_) printLine(lineOf(check.name, verdict));
}

void Results::finish() const {
    if (!json_) {
        printLine(stringWithFormat("%i ok, %i failed, %i not applicable", count(Outcome::ok), count(Outcome::failed),
                                   count(Outcome::notApplicable)));
        return;
    }
    QJsonArray checks;
    for (const auto& [name, verdict] : results_) {
        checks.append(QJsonObject{{"name", name},
                                  {"outcome", kOutcomes[static_cast<std::size_t>(verdict.outcome)]},
                                  {"reason", qString(verdict.reason)},
                                  {"seconds", static_cast<double>(verdict.duration.count()) / 1000}});
    }
    const QJsonObject document{{"bundle", qString(bundle_)}, {"holds", hold()}, {"checks", checks}};
    printText(jsonText(document, QJsonDocument::Indented).toStdString());
}

bool Results::hold() const {
    return count(Outcome::failed) == 0 && count(Outcome::ok) > 0;
}

int Results::count(Outcome outcome) const {
    return static_cast<int>(std::count_if(results_.begin(), results_.end(),
                                          [&](const Result& result) { return result.verdict.outcome == outcome; }));
}

}  // namespace velmora
