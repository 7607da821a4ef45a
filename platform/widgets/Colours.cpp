#include "platform/widgets/Colours.h"

#include <QAbstractButton>
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

QColor frameColour(const QPalette& palette) {
    constexpr int kStep = 5;
    const QColor text = palette.color(QPalette::WindowText);
    const QColor window = palette.color(QPalette::Window);
    for (int percent = kStep; percent < 100; percent += kStep) {
        const QColor colour = mixed(text, window, percent / 100.0);
        if (contrastBetween(colour, window) >= kVisibleContrast &&
            contrastBetween(colour, palette.color(QPalette::Base)) >= kVisibleContrast)
            return colour;
    }
    return text;
}

// Qt's usual style makes the frame from the colour of the window, darker by so much. A button does not paint the window
// itself, so it can have another colour there.
void showFrame(QAbstractButton& button) {
    constexpr int kStep = 5;
    constexpr int kRadioButton = 150;  // per cent
    constexpr int kCheckBox = 127;
    QPalette palette = button.palette();
    const QColor window = palette.color(QPalette::Window);
    // More than enough, because a round frame is painted with paler edges.
    const auto isSeen = [&window](const QColor& frame) { return contrastBetween(frame, window) >= kReadableContrast; };
    QColor colour = window;
    for (int percent = 0; percent < 100 && !(isSeen(colour.darker(kRadioButton)) && isSeen(colour.darker(kCheckBox)));
         percent += kStep) {
        colour = mixed(palette.color(QPalette::WindowText), window, percent / 100.0);
    }
    palette.setColor(QPalette::Window, colour);
    button.setPalette(palette);
}

void paintWith(QWidget& widget, const Signal& signal) {
    QPalette palette = widget.palette();
    palette.setColor(QPalette::Window, signal.ground);
    palette.setColor(QPalette::WindowText, signal.text);
    widget.setAutoFillBackground(true);
    widget.setPalette(palette);
}

}  // namespace velmora
