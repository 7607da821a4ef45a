// What a person is told of the times that the window stood still.
#pragma once

#include <QString>
#include <QTime>
#include <chrono>
#include <optional>

#include "platform/threads/Moment.h"

namespace velmora {

// Main thread. Standstills that follow each other closely are told as one: while the plugin connects, it may build its
// attributes again for each server that it finds.
class StandstillTally {
  public:
    // The plugin has built its attributes while there was a device to ask for labels.
    void labelsWereRead(Date now) { labelsRead_ = now; }
    void standstillHasEnded(Date now, std::chrono::milliseconds time);

    // How long the window stood still when labels were read last, in words; "" before the first time.
    QString costOfConnecting() const;
    // How long the window stood still last, and why; "" when that was too short for a word.
    QString text() const;

  private:
    std::optional<Date> labelsRead_;
    std::optional<Date> ended_;
    QTime lastEnd_;
    int count_ = 0;  // of those that belong together
    std::chrono::milliseconds sum_{0};
    std::chrono::milliseconds sumForLabels_{0};
    std::chrono::milliseconds lastCost_{0};
};

}  // namespace velmora
