#include "host/terminal/servercheck/ReplyTimes.h"

#include <QString>
#include <algorithm>
#include <array>
#include <cmath>
#include <limits>

namespace velmora {

namespace {

constexpr std::array<double, 12> kBounds = {
    0.0001, 0.0003, 0.001, 0.003, 0.01, 0.03, 0.1, 0.3, 1, 3, 10, std::numeric_limits<double>::infinity()};

}  // namespace

void ReplyTimes::add(Seconds time) {
    if (times_.size() < kMaximumReplyTimes) times_.push_back(static_cast<float>(time.count()));
}

Seconds ReplyTimes::quantile(double part) const {
    auto sorted = times_;
    const double last = static_cast<double>(sorted.size() - 1);
    const auto place = sorted.begin() + static_cast<std::ptrdiff_t>(std::ceil(part * last));
    std::nth_element(sorted.begin(), place, sorted.end());
    return Seconds(*place);
}

std::vector<ReplyTimes::Bar> ReplyTimes::histogram() const {
    std::vector<Bar> bars;
    bars.reserve(kBounds.size());
    for (const double bound : kBounds) {
        bars.push_back({Seconds(bound), 0});
    }
    for (const float time : times_) {
        const auto bar = std::ranges::find_if(bars, [time](const Bar& each) { return time < each.below.count(); });
        if (bar != bars.end()) ++bar->count;
    }
    const auto isUsed = [](const Bar& bar) { return bar.count > 0; };
    bars.erase(bars.begin(), std::ranges::find_if(bars, isUsed));
    while (!bars.empty() && !isUsed(bars.back())) {
        bars.pop_back();
    }
    return bars;
}

std::string timeText(Seconds time) {
    const bool isShort = time < Seconds(1);
    const QString number = QString::number(isShort ? time.count() * 1000 : time.count(), 'g', 2);
    // Two digits are enough below a hundred; beyond, no number is written with an exponent.
    const QString whole = QString::number(std::lround(isShort ? time.count() * 1000 : time.count()));
    return (number.contains('e') || whole.size() > 2 ? whole : number).toStdString() + (isShort ? " ms" : " s");
}

}  // namespace velmora
