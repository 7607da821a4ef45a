#include "host/workbench/panel/RoutingState.h"

#include <QTimer>
#include <utility>

#include "host/workbench/NumberedText.h"
#include "host/workbench/Words.h"
#include "platform/widgets/DisplayText.h"

namespace velmora {

RoutingState::RoutingState(WorkbenchSession& session) : session_(session) {
    session_.addListener(*this);
    QObject::connect(&attributes(), &QAbstractItemModel::modelReset, &attributes(), [this] { dropWhatIsGone(); });
    dropWhatIsGone();
}

RoutingState::~RoutingState() {
    session_.removeListener(*this);
}

void RoutingState::tell() const {
    for (const auto& observer : observers_) {
        observer();
    }
}

void RoutingState::dropWhatIsGone() {
    if (!attributes().rowOfName(destination_)) destination_.clear();
    if (destination_.empty()) isExchanging_ = false;
    if (waiting_ && !attributes().rowOfName(waiting_->name)) waiting_.reset();
    tell();
}

void RoutingState::giveUp() {
    if (!isExchanging_ && !waiting_) return;
    isExchanging_ = false;
    waiting_.reset();
    tell();
}

void RoutingState::select(const std::string& destination) {
    if (std::exchange(isExchanging_, false) && destination != destination_) {
        exchange(destination);
    } else if (destination != destination_) {
        destination_ = destination;
        waiting_.reset();
    }
    tell();
}

void RoutingState::setPreset(bool isPreset) {
    isPreset_ = isPreset;
    waiting_.reset();
    tell();
}

void RoutingState::choose(const std::string& source) {
    if (destination_.empty()) return;
    if (isPreset_) {
        waiting_ = SalvoStep{destination_, source};
        tell();
    } else {
        route(destination_, source);
    }
}

void RoutingState::choose(const SalvoStep& step) {
    isExchanging_ = false;
    select(step.name);
    choose(step.value);
}

void RoutingState::take() {
    if (!waiting_) return;
    const SalvoStep taken = *std::exchange(waiting_, std::nullopt);
    route(taken.name, taken.value);
    tell();
}

bool RoutingState::isLocked(const std::string& destination) const {
    return attributes().hasMark(destination, AttributesModel::locked);
}

void RoutingState::setLocked(const std::string& destination, bool isLocked) {
    attributes().setMark(destination, AttributesModel::locked, isLocked);
    session_.setOutcome(
        isLocked ? Words::tr("%1 is locked in this window; other panels can still route.").arg(titleOf(destination))
                 : Words::tr("%1 is no longer locked.").arg(titleOf(destination)));
    tell();
}

void RoutingState::route(const std::string& destination, const std::string& source) {
    if (isLocked(destination)) {
        session_.setOutcome(Words::tr("Did not route %1: it is locked in this window; other panels can still route.")
                                .arg(titleOf(destination)));
        return;
    }
    session_.setLater(destination, source);
}

void RoutingState::route(const Salvo& salvo) {
    for (const SalvoStep& step : salvo) {
        route(step.name, step.value);
    }
}

std::optional<std::string> RoutingState::previous() const {
    const auto value = session_.previousValue(destination_);
    const auto row = attributes().rowOfName(destination_);
    if (!value || !row) return std::nullopt;
    const Values& values = attributes().settableValuesAtRow(*row);
    const auto place = values.indexOf(*value);
    return place ? std::optional(values.texts()[*place]) : std::nullopt;
}

void RoutingState::takePrevious() {
    if (const auto value = previous()) route(destination_, *value);
}

std::optional<std::string> RoutingState::defaultOf(const std::string& destination) const {
    const auto row = attributes().rowOfName(destination);
    return row ? attributes().settableDefaultAtRow(*row) : std::nullopt;
}

void RoutingState::takeDefault() {
    if (const auto value = defaultOf(destination_)) route(destination_, *value);
}

Salvo RoutingState::routesToDefaults() const {
    Salvo routes;
    for (const std::string& name : attributes().names()) {
        const auto value = defaultOf(name);
        if (value && !isLocked(name)) routes.push_back({name, *value});
    }
    return routes;
}

void RoutingState::setExchanging(bool isExchanging) {
    isExchanging_ = isExchanging && !destination_.empty();
    tell();
}

std::optional<std::string> RoutingState::sourceOf(const std::string& other, const std::string& destination) const {
    const auto from = attributes().rowOfName(other);
    const auto to = attributes().rowOfName(destination);
    if (!from || !to || attributes().indexOfCurrentValueAtRow(*from) < 0) return std::nullopt;
    const auto index = static_cast<std::size_t>(attributes().indexOfCurrentValueAtRow(*from));
    const Values& values = attributes().settableValuesAtRow(*to);
    const auto place = values.indexOf(attributes().settableValuesAtRow(*from).texts()[index]);
    return place ? std::optional(values.texts()[*place]) : std::nullopt;
}

void RoutingState::exchange(const std::string& with) {
    if (isLocked(destination_) || isLocked(with)) {
        session_.setOutcome(
            Words::tr("Did not exchange %1 and %2: %3 is locked in this window.")
                .arg(titleOf(destination_), titleOf(with), titleOf(isLocked(with) ? with : destination_)));
        return;
    }
    // After the click has been drawn.
    QTimer::singleShot(0, &timers_, [this, destination = destination_, with] { exchangeNow(destination, with); });
}

// What both have is asked for first: somebody else may have routed them since. The second is left as it is when the
// first did not follow.
void RoutingState::exchangeNow(const std::string& destination, const std::string& with) {
    const bool areKnown = session_.readNow({destination, with});
    const auto ours = sourceOf(with, destination);
    const auto theirs = sourceOf(destination, with);
    if (!areKnown || !ours || !theirs) {
        session_.setOutcome(
            Words::tr("Did not exchange %1 and %2: it is not known what they have, or the other cannot have it.")
                .arg(titleOf(destination), titleOf(with)));
    } else if (session_.setNow(destination, *ours) && !session_.setNow(with, *theirs)) {
        session_.setOutcome(Words::tr("Half an exchange: %1 has the source of %2, which did not follow. %3")
                                .arg(titleOf(destination), titleOf(with), session_.outcome()));
    }
}

QString RoutingState::titleOf(const std::string& destination) const {
    const auto row = attributes().rowOfName(destination);
    if (!row) return displayText(destination);
    const QModelIndex index = attributes().index(*row, 0);
    return numberedText(index.data(AttributesModel::numberRole).toString(),
                        index.data(AttributesModel::labelRole).toString());
}

void RoutingState::routeChanged(const RouteChange& change) {
    if (change.isByUs) {
        attributes().setMark(change.name, AttributesModel::failed, false);
    } else {
        attributes().flash(change.name);
    }
    tell();
}

void RoutingState::setFailed(const std::string& name, const std::string& /*why*/) {
    attributes().setMark(name, AttributesModel::failed, true);
    tell();
}

}  // namespace velmora
