// Colours that can be read on light and dark palettes alike, and by people who do not tell them apart: each goes with a
// word or a sign.
#pragma once

#include <QColor>
#include <QPalette>

class QAbstractButton;
class QWidget;

namespace velmora {

// The least contrast between a text and what is behind it.
inline constexpr double kReadableContrast = 4.5;
// Between 1 and 21, as the guidelines for accessible pages reckon it.
double contrastBetween(const QColor& one, const QColor& other);

// The palette's text on its base, less prominent but readable. The palette's own colour for placeholders is not: many
// themes leave that of another palette.
QColor dimmedText(const QPalette& palette);

// The least contrast between the frame of a control and what is around it.
inline constexpr double kVisibleContrast = 3;
// A frame that is to be seen on the palette's window and base.
QColor frameColour(const QPalette& palette);
// Makes the style draw the frame of a check box or radio button so; some themes leave it all but invisible.
void showFrame(QAbstractButton& button);

// Text on a coloured ground, the same on every palette.
struct Signal {
    QColor ground;
    QColor text;
};
inline const Signal kGoodSignal{QColor(0x1B, 0x6E, 0x2B), Qt::white};
inline const Signal kWaitingSignal{QColor(0xF2, 0xB3, 0x00), Qt::black};
inline const Signal kBadSignal{QColor(0xB3, 0x26, 0x1E), Qt::white};
inline const Signal kOffSignal{QColor(0x5A, 0x5F, 0x64), Qt::white};

void paintWith(QWidget& widget, const Signal& signal);

}  // namespace velmora
