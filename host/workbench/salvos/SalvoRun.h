// Fires a salvo: sets its steps one after the other, and notes of each what came of it.
#pragma once

#include <QString>
#include <QTimer>
#include <functional>
#include <string>
#include <vector>

#include "host/Salvo.h"
#include "host/workbench/SessionListener.h"
#include "host/workbench/panel/RoutingState.h"

namespace velmora {

// Main thread. A step that fails does not keep the next ones from being set.
class SalvoRun final : private SessionListener {
  public:
    struct Outcome {
        bool hasFollowed = false;
        QString reason = {};  // why it has not
    };

    // The state is not owned and outlives the run. `changed` is called after each step.
    SalvoRun(RoutingState& state, std::function<void()> changed);
    ~SalvoRun() override;
    SalvoRun(const SalvoRun&) = delete;
    SalvoRun& operator=(const SalvoRun&) = delete;

    // Not while it is firing.
    void fire(const Salvo& salvo);
    bool isFiring() const { return outcomes_.size() < salvo_.size(); }
    // Of the steps that are done, in order.
    const std::vector<Outcome>& outcomes() const { return outcomes_; }
    void clear();

  private:
    void routeChanged(const RouteChange& change) override;
    void setFailed(const std::string& name, const std::string& why) override;
    void setNext();
    void end(const Outcome& outcome);
    bool isAwaiting(const std::string& name) const;
    void sayWhatCameOfIt() const;

    QTimer ended_;
    RoutingState& state_;
    const std::function<void()> changed_;
    Salvo salvo_;
    std::vector<Outcome> outcomes_;
};

}  // namespace velmora
