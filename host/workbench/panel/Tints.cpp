#include "host/workbench/panel/Tints.h"

#include <algorithm>
#include <cmath>

namespace velmora {

namespace {

constexpr int kSteps = 20;

double linear(double channel) {
    return channel <= 0.04045 ? channel / 12.92 : std::pow((channel + 0.055) / 1.055, 2.4);
}

double luminanceOf(const QColor& colour) {
    return 0.2126 * linear(colour.redF()) + 0.7152 * linear(colour.greenF()) + 0.0722 * linear(colour.blueF());
}

QColor blended(const QColor& from, const QColor& to, double share) {
    const auto channel = [share](double one, double other) {
        return static_cast<float>(std::clamp(one + (other - one) * share, 0.0, 1.0));
    };
    return QColor::fromRgbF(channel(from.redF(), to.redF()), channel(from.greenF(), to.greenF()),
                            channel(from.blueF(), to.blueF()));
}

}  // namespace

double contrastOf(const QColor& one, const QColor& other) {
    const auto [darker, lighter] = std::minmax({luminanceOf(one), luminanceOf(other)});
    return (lighter + 0.05) / (darker + 0.05);
}

QColor Tints::readable(const QColor& hue) const {
    const QColor text = palette_.color(QPalette::Text);
    for (int step = 0; step < kSteps; ++step) {
        const QColor colour = blended(hue, text, static_cast<double>(step) / kSteps);
        const bool isReadable = contrastOf(colour, palette_.color(QPalette::Base)) >= kReadable &&
                                contrastOf(colour, palette_.color(QPalette::Button)) >= kReadable;
        if (isReadable) return colour;
    }
    return text;
}

QColor Tints::dimmed() const {
    return readable(blended(palette_.color(QPalette::Text), palette_.color(QPalette::Base), 0.45));
}

QColor Tints::flash() const {
    return blended(palette_.color(QPalette::Base), QColor(255, 170, 0), 0.3);
}

}  // namespace velmora
