#include "settings/AddRemoveControl.h"

#include <QEvent>
#include <algorithm>

namespace velmora {

bool AddRemoveControl::connectSegments(const char* addName, const char* removeName,
                                       const std::function<void()>& pushed) {
    segments_ = {findChild<QAbstractButton*>(addName), findChild<QAbstractButton*>(removeName)};
    for (std::size_t i = 0; i < segments_.size(); ++i) {
        if (segments_[i] == nullptr) return false;
        segments_[i]->installEventFilter(this);
        connect(segments_[i], &QAbstractButton::clicked, this, [this, i, pushed] {
            selectedSegment_ = static_cast<std::int64_t>(i);
            pushed();
        });
    }
    return true;
}

void AddRemoveControl::setEnabledForSegment(bool enabled, std::int64_t segment) {
    if (segment < 0 || static_cast<std::size_t>(segment) >= segments_.size()) return;
    QAbstractButton* const button = segments_[static_cast<std::size_t>(segment)];
    if (button == nullptr) return;
    // The focus stays in the control: left to itself it would go on to whatever comes next in the window.
    const bool hadFocus = button->hasFocus();
    button->setEnabled(enabled);
    if (!hadFocus || enabled) return;
    const auto other = std::find_if(segments_.begin(), segments_.end(),
                                    [](const QAbstractButton* each) { return each != nullptr && each->isEnabled(); });
    if (other != segments_.end()) (*other)->setFocus();
}

// A double click by habit removes one: the entry that moves up to its place is not removed by the second click.
bool AddRemoveControl::eventFilter(QObject* watched, QEvent* event) {
    constexpr std::size_t kRemoveSegment = 1;
    return event->type() == QEvent::MouseButtonDblClick && watched == segments_[kRemoveSegment];
}

}  // namespace velmora
