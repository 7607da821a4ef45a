// Colours that can be read on the desktop's palette, be it light or dark.
#pragma once

#include <QColor>
#include <QPalette>

namespace velmora {

// From 1 (the same) to 21 (black on white), as the accessibility guidelines of the web compute it.
double contrastOf(const QColor& one, const QColor& other);

class Tints {
  public:
    // Text of less than this contrast is hard to read.
    static constexpr double kReadable = 4.5;

    explicit Tints(const QPalette& palette) : palette_(palette) {}

    // For text of lesser weight.
    QColor dimmed() const;
    // For signs and frames; each comes with a sign or a word, because not everybody can tell colours apart.
    QColor warning() const { return readable(QColor(230, 140, 0)); }
    QColor failure() const { return readable(QColor(220, 40, 40)); }
    QColor good() const { return readable(QColor(40, 160, 70)); }
    // A background for a moment, on which text can be read.
    QColor flash() const;

  private:
    // The hue, moved towards the colour of text until it can be read on the background.
    QColor readable(const QColor& hue) const;

    const QPalette palette_;
};

}  // namespace velmora
