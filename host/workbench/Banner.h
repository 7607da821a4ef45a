// A strip across the window that says something until it is no longer so, with a button that ends it.
#pragma once

#include <QFrame>
#include <functional>

#include "platform/widgets/Colours.h"

class QPushButton;

namespace velmora {

class LinesLabel;

class Banner final : public QFrame {
  public:
    // The text, which has room for so many lines, and the button have their object names from the banner's: "NAMELabel"
    // and "NAMEButton".
    Banner(const QString& name, int lines, const QString& button, const Signal& signal, std::function<void()> pushed);

    void say(const QString& text);

  private:
    LinesLabel* const text_;
    QPushButton* const button_;
};

}  // namespace velmora
