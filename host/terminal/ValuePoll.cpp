#include "host/terminal/ValuePoll.h"

#include <utility>

#include "host/PluginState.h"

namespace velmora {

ValuePoll::ValuePoll(PluginHost& host, std::chrono::milliseconds pause, Changed changed)
    : host_(host), pause_(pause), changed_(std::move(changed)) {
    timer_.setSingleShot(true);
    QObject::connect(&timer_, &QTimer::timeout, &timer_, [this] { goOn(); });
}

void ValuePoll::start() {
    timer_.start(0);
}

void ValuePoll::goOn() {
    if (names_ == nullptr && canRead()) {
        names_ = host_.plugin().attributeNames();
        next_ = 0;
    }
    if (names_ != nullptr && next_ < names_->size() && canRead()) {
        readNext();
        timer_.start(0);
        return;
    }
    names_ = nullptr;
    timer_.start(pause_);
}

bool ValuePoll::canRead() const {
    const auto status = host_.connectionStatus();
    return (!status || status->state == NodePluginConnectionState::connected) && attributesAreComplete(host_.plugin());
}

void ValuePoll::readNext() {
    const std::string name = (*names_)[next_++];
    if (!host_.plugin().displayNameOfAttributeWithName(name) && !host_.plugin().typeOfAttributeWithName(name))
        return;  // no longer there
    Reading now = readValue(host_, name);
    if (!now.value && !canRead()) return;  // the loss of the connection says it all
    const auto [place, isFirst] = known_.emplace(name, now);
    if (isFirst || isSame(name, place->second, now)) return;
    const Reading before = std::exchange(place->second, now);
    changed_(name, before, now);
}

bool ValuePoll::isSame(const std::string& name, const Reading& before, const Reading& now) const {
    if (!before.value || !now.value) return before.value.has_value() == now.value.has_value();
    return possibleValues(host_.plugin(), name).areSame(*before.value, *now.value);
}

}  // namespace velmora
