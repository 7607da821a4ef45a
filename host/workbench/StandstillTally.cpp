#include "host/workbench/StandstillTally.h"

#include "host/workbench/Words.h"

namespace velmora {

namespace {

// A standstill that is worth a word.
constexpr std::chrono::milliseconds kToldStandstill{1000};
// One that begins this soon after another belongs to it.
constexpr std::chrono::seconds kStandstillsTogether{5};

QString seconds(std::chrono::milliseconds time) {
    constexpr double kMillisecondsPerSecond = 1000;
    return QString::number(static_cast<double>(time.count()) / kMillisecondsPerSecond, 'f', 1) + " s";
}

}  // namespace

void StandstillTally::standstillHasEnded(Date now, std::chrono::milliseconds time) {
    const Date begin = now - time;
    if (!ended_ || begin - *ended_ > kStandstillsTogether) {
        count_ = 0;
        sum_ = sumForLabels_ = {};
    }
    ended_ = now;
    lastEnd_ = QTime::currentTime();
    ++count_;
    sum_ += time;
    if (!labelsRead_ || *labelsRead_ < begin) return;
    sumForLabels_ += time;
    lastCost_ = sumForLabels_;
}

QString StandstillTally::costOfConnecting() const {
    if (lastCost_.count() == 0) return {};
    return Words::tr("Reading the labels took %1 last time.").arg(seconds(lastCost_));
}

QString StandstillTally::text() const {
    if (sum_ < kToldStandstill) return {};
    const bool isForLabels = sumForLabels_.count() > 0;
    const QString what =
        count_ > 1
            ? (isForLabels
                   ? Words::tr("The window stood still %n times, for %1 in all, while the plugin read its labels.",
                               nullptr, count_)
                   : Words::tr("The window stood still %n times, for %1 in all.", nullptr, count_))
        : isForLabels ? Words::tr("The window stood still for %1 while the plugin read its labels.")
                      : Words::tr("The window stood still for %1.");
    return lastEnd_.toString("HH:mm:ss") + "  " + what.arg(seconds(sum_)) + ' ' +
           Words::tr("Clicks and keys of that time were discarded.");
}

}  // namespace velmora
