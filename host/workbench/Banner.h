// A strip across the window that says something until it is no longer so, with a button that ends it.
#pragma once

#include <QFrame>
#include <functional>

#include "platform/widgets/Colours.h"

class QLabel;
class QPushButton;

namespace velmora {

class Banner final : public QFrame {
  public:
    // Hidden at first. The button has its object name from the banner's: "NAMEButton" and "NAMELabel".
    Banner(const QString& name, const QString& button, const Signal& signal, std::function<void()> pushed);

    // Shows the text; none hides the banner.
    void say(const QString& text);

  private:
    QLabel* const text_;
    QPushButton* const button_;
};

}  // namespace velmora
