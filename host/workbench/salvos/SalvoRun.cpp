#include "host/workbench/salvos/SalvoRun.h"

#include <QStringList>
#include <utility>

#include "host/workbench/Words.h"
#include "platform/widgets/DisplayText.h"

namespace velmora {

SalvoRun::SalvoRun(RoutingState& state, std::function<void()> changed) : state_(state), changed_(std::move(changed)) {
    ended_.setSingleShot(true);
    QObject::connect(&ended_, &QTimer::timeout, &ended_, [this] { sayWhatCameOfIt(); });
    state_.session().addListener(*this);
}

SalvoRun::~SalvoRun() {
    state_.session().removeListener(*this);
}

void SalvoRun::fire(const Salvo& salvo) {
    salvo_ = salvo;
    outcomes_.clear();
    setNext();
}

void SalvoRun::clear() {
    salvo_.clear();
    outcomes_.clear();
    ended_.stop();
}

// The notice of the one that is set leads to the next one.
void SalvoRun::setNext() {
    while (isFiring() && state_.isLocked(salvo_[outcomes_.size()].name)) {
        outcomes_.push_back({false, Words::tr("locked in this window")});
    }
    if (isFiring()) {
        const SalvoStep& step = salvo_[outcomes_.size()];
        state_.session().setLater(step.name, step.value);
    } else {
        ended_.start(0);  // after what the session says of the last step
    }
    changed_();
}

void SalvoRun::end(const Outcome& outcome) {
    outcomes_.push_back(outcome);
    setNext();
}

bool SalvoRun::isAwaiting(const std::string& name) const {
    return isFiring() && salvo_[outcomes_.size()].name == name;
}

void SalvoRun::routeChanged(const RouteChange& change) {
    if (change.isByUs && isAwaiting(change.name)) end({true});
}

void SalvoRun::setFailed(const std::string& name, const std::string& why) {
    if (isAwaiting(name)) end({false, QString::fromStdString(why)});
}

void SalvoRun::sayWhatCameOfIt() const {
    QStringList failed;
    for (std::size_t i = 0; i < salvo_.size(); ++i) {
        if (!outcomes_[i].hasFollowed) failed << state_.titleOf(salvo_[i].name);
    }
    const QString followed = QString::number(static_cast<qsizetype>(salvo_.size()) - failed.size());
    const QString all = QString::number(salvo_.size());
    state_.session().setOutcome(
        failed.isEmpty() ? Words::tr("Salvo: %1 of %2 followed.").arg(followed, all)
                         : Words::tr("Salvo: %1 of %2 followed, not %3.").arg(followed, all, failed.join(", ")));
}

}  // namespace velmora
