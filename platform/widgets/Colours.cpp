#include "platform/widgets/Colours.h"

#include <QWidget>
#include <algorithm>
#include <cmath>

namespace velmora {

namespace {

double luminance(const QColor& colour) {
    const auto linear = [](double part) {
        return part <= 0.04045 ? part / 12.92 : std::pow((part + 0.055) / 1.055, 2.4);
    };
    return 0.2126 * linear(colour.redF()) + 0.7152 * linear(colour.greenF()) + 0.0722 * linear(colour.blueF());
}

QColor mixed(const QColor& one, const QColor& other, double share) {
    const auto mix = [share](float left, float right) {
        return static_cast<float>(share * static_cast<double>(left) + (1 - share) * static_cast<double>(right));
    };
    return QColor::fromRgbF(mix(one.redF(), other.redF()), mix(one.greenF(), other.greenF()),
                            mix(one.blueF(), other.blueF()));
}

QColor dimmed(const QColor& text, const QColor& ground) {
    constexpr int kUsualPercent = 60;
    constexpr int kStep = 5;
    for (int percent = kUsualPercent; percent < 100; percent += kStep) {
        const QColor colour = mixed(text, ground, percent / 100.0);
        if (contrastBetween(colour, ground) >= kReadableContrast) return colour;
    }
    return text;
}

}  // namespace

double contrastBetween(const QColor& one, const QColor& other) {
    constexpr double kGlare = 0.05;
    const double left = luminance(one);
    const double right = luminance(other);
    return (std::max(left, right) + kGlare) / (std::min(left, right) + kGlare);
}

QColor dimmedText(const QPalette& palette) {
    return dimmed(palette.color(QPalette::Text), palette.color(QPalette::Base));
}

void paintWith(QWidget& widget, const Signal& signal) {
    QPalette palette = widget.palette();
    palette.setColor(QPalette::Window, signal.ground);
    palette.setColor(QPalette::WindowText, signal.text);
    widget.setAutoFillBackground(true);
    widget.setPalette(palette);
}

}  // namespace velmora
