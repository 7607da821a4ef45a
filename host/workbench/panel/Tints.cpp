#include "host/workbench/panel/Tints.h"

#include <algorithm>

namespace velmora {

namespace {

constexpr int kSteps = 20;

QColor blended(const QColor& from, const QColor& to, double share) {
    const auto channel = [share](double one, double other) {
        return static_cast<float>(std::clamp(one + (other - one) * share, 0.0, 1.0));
    };
    return QColor::fromRgbF(channel(from.redF(), to.redF()), channel(from.greenF(), to.greenF()),
                            channel(from.blueF(), to.blueF()));
}

}  // namespace

QColor Tints::readable(const QColor& hue) const {
    const QColor text = palette_.color(QPalette::Text);
    for (int step = 0; step < kSteps; ++step) {
        const QColor colour = blended(hue, text, static_cast<double>(step) / kSteps);
        const bool isReadable = contrastBetween(colour, palette_.color(QPalette::Base)) >= kReadableContrast &&
                                contrastBetween(colour, palette_.color(QPalette::Button)) >= kReadableContrast;
        if (isReadable) return colour;
    }
    return text;
}

QColor Tints::flash() const {
    return blended(palette_.color(QPalette::Base), QColor(255, 170, 0), 0.3);
}

}  // namespace velmora
