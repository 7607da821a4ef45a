// What keeps a button from doing anything, told by the button.
#pragma once

#include <QWidget>

namespace velmora {

// Enabled when there is no obstacle. The tool tip is the obstacle or else the widget's "What's This?", which says what
// it does.
inline void showObstacle(QWidget& button, const QString& obstacle) {
    button.setEnabled(obstacle.isEmpty());
    button.setToolTip(obstacle.isEmpty() ? button.whatsThis() : obstacle);
}

}  // namespace velmora
