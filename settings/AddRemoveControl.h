// Two buttons side by side that act as one control: segment 0 adds, segment 1 removes.
#pragma once

#include <QAbstractButton>
#include <QFrame>
#include <array>
#include <functional>

#include "settings/SettingsControls.h"

namespace velmora {

class AddRemoveControl final : public QFrame, public SegmentedControl {
  public:
    explicit AddRemoveControl(QWidget* parent) : QFrame(parent) {}

    // Takes the buttons of these object names among its children; false when one is missing. `pushed` is called after
    // each push.
    bool connectSegments(const char* addName, const char* removeName, const std::function<void()>& pushed);

    std::int64_t selectedSegment() const override { return selectedSegment_; }
    void setEnabledForSegment(bool enabled, std::int64_t segment) override;

  protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

  private:
    std::array<QAbstractButton*, 2> segments_{};
    std::int64_t selectedSegment_ = -1;
};

}  // namespace velmora
