// Where the connection stands, to be seen from two metres: a lamp with a word, and the sentences beside it.
#pragma once

#include <QWidget>

#include "host/workbench/Situation.h"

class QLabel;

namespace velmora {

class LinesLabel;

class ConnectionBar final : public QWidget {
  public:
    ConnectionBar();

    void show(const Situation& situation);
    // Instead of the situation, painted at once, because the event loop does not run until the answer is there.
    void showWaiting(const QString& what);

  private:
    QLabel* const lamp_;
    LinesLabel* const text_;
};

}  // namespace velmora
