// Notices when the window stood still, and discards what a person did to it meanwhile: it was done to what the screen
// showed before, and several impatient clicks would become several actions.
#pragma once

#include <QElapsedTimer>
#include <QEvent>
#include <QObject>
#include <QTimer>
#include <chrono>
#include <functional>

namespace velmora {

// Main thread. Watches all windows of the application.
class Standstill final : public QObject {
  public:
    // `ended` is called from the event loop with the time that the window stood still.
    explicit Standstill(std::function<void(std::chrono::milliseconds)> ended);

    // Whether what a person does right now is done to a window that shows what is.
    bool mayAct() const;

  protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

  private:
    void beat();
    bool mustDiscard(QEvent::Type type);

    const std::function<void(std::chrono::milliseconds)> ended_;
    QTimer heart_;
    QElapsedTimer sinceBeat_;
    QElapsedTimer sinceDiscardedKey_;  // invalid for none
    bool isFresh_ = false;             // a standstill was noticed at the last beat
};

}  // namespace velmora
