// What is done with the selected destination, and how a chosen source is taken.
#pragma once

#include <QTimer>
#include <QWidget>
#include <functional>
#include <vector>

#include "host/workbench/panel/RoutingState.h"

class QBoxLayout;
class QPushButton;
class QRadioButton;

namespace velmora {

// Main thread. Several bars may show one state.
class ControlBar final : public QWidget {
  public:
    // Not owned; it outlives the bar.
    explicit ControlBar(RoutingState& state);

  protected:
    void resizeEvent(QResizeEvent* event) override;

  private:
    QPushButton* add(const char* name, const QString& text, const QString& toolTip,
                     const std::function<void()>& action);
    void followState();
    void showPrevious();
    void askForDefaults();

    RoutingState& state_;
    QTimer news_;
    QBoxLayout* const halves_;
    QBoxLayout* half_ = nullptr;  // where controls are added
    QRadioButton* const direct_;
    QRadioButton* const preset_;
    QPushButton* take_ = nullptr;
    QPushButton* previous_ = nullptr;
    QPushButton* default_ = nullptr;
    QPushButton* allDefaults_ = nullptr;
    QPushButton* lock_ = nullptr;
    QPushButton* exchange_ = nullptr;
};

}  // namespace velmora
