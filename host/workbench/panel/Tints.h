// The colours of signs in the views, readable on light and dark palettes.
#pragma once

#include <QColor>
#include <QPalette>

#include "platform/widgets/Colours.h"

namespace velmora {

class Tints {
  public:
    explicit Tints(const QPalette& palette) : palette_(palette) {}

    // For text of lesser weight.
    QColor dimmed() const { return dimmedText(palette_); }
    // For signs and frames; each comes with a sign or a word, because not everybody can tell colours apart.
    QColor warning() const { return readable(QColor(230, 140, 0)); }
    QColor failure() const { return readable(QColor(220, 40, 40)); }
    // A background for a moment, on which text can be read.
    QColor flash() const;

  private:
    // The hue, moved towards the colour of text until it can be read on the background.
    QColor readable(const QColor& hue) const;

    const QPalette palette_;
};

}  // namespace velmora
