// What keeps a button from doing anything, told by the button.
#pragma once

#include <QWidget>

namespace velmora {

// Enabled when there is no obstacle. The tool tip is the obstacle or else the widget's "What's This?", which says what
// it does. A button that has the keyboard leaves it to what it lies in: the next button, to which it would go by
// itself, does something else at the next press of the same key.
inline void showObstacle(QWidget& button, const QString& obstacle) {
    if (!obstacle.isEmpty() && button.window()->focusWidget() == &button) button.parentWidget()->setFocus();
    button.setEnabled(obstacle.isEmpty());
    button.setToolTip(obstacle.isEmpty() ? button.whatsThis() : obstacle);
}

}  // namespace velmora
