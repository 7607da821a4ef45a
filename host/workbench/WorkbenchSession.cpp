#include "host/workbench/WorkbenchSession.h"

#include <QElapsedTimer>
#include <QScopeGuard>
#include <utility>

#include "host/Attempt.h"
#include "host/PluginState.h"
#include "platform/widgets/DisplayText.h"

namespace velmora {

namespace {

// One reading of all values may block the main thread this long in total: unasked, and when a person asks for it.
constexpr std::chrono::milliseconds kUnaskedReading{1000};
constexpr std::chrono::milliseconds kAskedReading{30'000};
// Notices within this time of each other lead to one reading.
constexpr std::chrono::milliseconds kNoticesTogether{100};
// A pop-up that was closed is gone from the screen after this time.
constexpr std::chrono::milliseconds kPopUpGone{30};
// After reading this long, the event loop gets its turn.
constexpr std::chrono::milliseconds kReadingAtATime{50};

// Until the end of the block that it is called in.
[[nodiscard]] auto awaitServer(WorkbenchSession::Observer& observer) {
    observer.serverWillBeAwaited();
    return qScopeGuard([&observer] { observer.serverWasAwaited(); });
}

}  // namespace

template <typename Call>
void WorkbenchSession::tellListeners(const Call& call) {
    for (SessionListener* const listener : std::vector(listeners_)) {
        call(*listener);
    }
}

WorkbenchSession::WorkbenchSession(PluginHost& host, Observer& observer)
    : host_(host), observer_(observer), standstill_([this](std::chrono::milliseconds time) {
          tellListeners([time](SessionListener& listener) { listener.standstillEnded(time); });
      }) {
    reading_.setSingleShot(true);
    QObject::connect(&reading_, &QTimer::timeout, &reading_, [this] { readMore(); });
    host_.setAttributesObserver([this] { attributesHaveChanged(); });
    host_.setStatusObserver([this] { statusHasChanged(); });
}

WorkbenchSession::~WorkbenchSession() {
    host_.setStatusObserver(nullptr);
    host_.setAttributesObserver(nullptr);
}

bool WorkbenchSession::start(bool setCurrentValuesToDefaults) {
    if (isStarted()) stop();
    const bool good = host_.start(setCurrentValuesToDefaults);
    setOutcome(!good                        ? QString("The plugin did not start; its log says why.")
               : setCurrentValuesToDefaults ? QString("Started with defaults: ") + kWhatDefaultsDo + '.'
                                            : QString("Started without defaults."));
    attributes_.reload(host_.plugin());  // some plugins have them at once
    beginReading(kUnaskedReading, kNoticesTogether);
    return good;
}

void WorkbenchSession::stop() {
    endReading();
    {
        const auto waiting = awaitServer(observer_);
        host_.stop();
    }
    attributes_.reload(host_.plugin());
    setOutcome("Stopped.");
}

void WorkbenchSession::handOver(const DictionaryReference& settings) {
    endReading();
    {
        const auto waiting = awaitServer(observer_);
        host_.plugin().setDefaultSettings(settings);
    }
    setOutcome("The settings were handed to the plugin.");
}

void WorkbenchSession::refresh() {
    beginReading(kAskedReading, {});
}

bool WorkbenchSession::canAsk() const {
    const auto status = host_.connectionStatus();
    return isStarted() && (!status || status->state == NodePluginConnectionState::connected);
}

std::optional<std::size_t> WorkbenchSession::numberOfInputs() const {
    return canAsk() ? velmora::numberOfInputs(host_.plugin()) : std::nullopt;
}

void WorkbenchSession::setOutcome(const QString& outcome) {
    outcome_ = outcome;
    observer_.sessionHasChanged();
}

// Inside the plugin's operation, so only look-ups are made here.
void WorkbenchSession::attributesHaveChanged() {
    attributes_.reload(host_.plugin());
    const auto count = attributes_.rowCount();
    lastNotice_ = QString("Change notice %1 at %2: %3 attribute%4")
                      .arg(++notices_)
                      .arg(QTime::currentTime().toString("HH:mm:ss"))
                      .arg(count)
                      .arg(count == 1 ? "" : "s");
    beginReading(kUnaskedReading, kNoticesTogether);
    observer_.sessionHasChanged();
}

void WorkbenchSession::statusHasChanged() {
    const auto outcome = host_.lastOutcome();
    // The connection ended with what looked like an answer, so it was none.
    if (outcome && outcome->answer == NodePluginAnswer::connectionEnded)
        attributes_.setCurrentValue(outcome->attributeName, std::nullopt);
    if (!canAsk()) endReading();
    observer_.sessionHasChanged();
}

void WorkbenchSession::setLater(const std::string& name, const std::string& value) {
    QTimer::singleShot(kPopUpGone, &reading_, [this, name, value] { set(name, value); });
}

void WorkbenchSession::set(const std::string& name, const std::string& value) {
    const QString what = quotedName(name) + " to " + quotedName(value);
    if (!canAsk() || !attributes_.isPossible(name, value)) {
        const QString why = !canAsk() ? "there is no connection." : "that is no longer one of the possible values.";
        setHasFailed(name, "Did not set " + what + ": " + why);
        return;
    }
    const Values values = possibleValues(host_.plugin(), name);
    std::optional<std::string> now;
    QString refusal;
    {
        const auto waiting = awaitServer(observer_);
        const Attempt attempt(host_);
        if (host_.plugin().setValueForAttributeWithName(value, name) != 0) {
            setHasFailed(name, "The plugin refused to set " + what + ": " + displayText(attempt.reason()));
            return;
        }
        routes_.willSet(name, value);
        if (attempt.isAnswered() == false) refusal = " (" + displayText(attempt.reason()) + ")";
        now = read(name);
    }
    // The plugin has handed the value on, which does not mean that the switcher has it.
    if (!now) {
        setHasFailed(name, "Setting " + what + " was handed on, but cannot be read back" + refusal + ".");
    } else if (!values.areSame(*now, value)) {
        setHasFailed(name,
                     "Setting " + what + " was handed on, but the device has " + quotedName(*now) + refusal + ".");
    } else {
        setOutcome("Set " + what + ".");
    }
}

void WorkbenchSession::setHasFailed(const std::string& name, const QString& why) {
    tellListeners([&](SessionListener& listener) { listener.setFailed(name, why.toStdString()); });
    setOutcome(why);
}

void WorkbenchSession::beginReading(std::chrono::milliseconds limit, std::chrono::milliseconds delay) {
    unread_ = attributes_.names();
    readingLimit_ = limit;
    readingTime_ = {};
    reading_.start(delay);
}

void WorkbenchSession::readMore() {
    if (!canAsk()) {
        endReading();
        return;
    }
    QElapsedTimer elapsed;
    elapsed.start();
    {
        const auto waiting = awaitServer(observer_);
        while (!unread_.empty() && elapsed.elapsed() < kReadingAtATime.count()) {
            read(unread_.front());
            if (!canAsk()) break;
            unread_.pop_front();
        }
    }
    readingTime_ += std::chrono::milliseconds(elapsed.elapsed());
    if (!canAsk()) {
        endReading();
    } else if (unread_.empty()) {
        observer_.sessionHasChanged();
    } else if (readingTime_ > readingLimit_) {
        const auto left = unread_.size();
        endReading();
        setOutcome(
            QString("The device answers slowly: %1 of the current values were not read. Refresh Values reads them.")
                .arg(left));
    } else {
        reading_.start(0);
    }
}

std::optional<std::string> WorkbenchSession::read(const std::string& name) {
    const Attempt attempt(host_);
    const std::string value = host_.plugin().currentValueOfAttributeWithName(name);
    const bool isProper = !value.empty() && attempt.isAnswered().value_or(true);
    const auto answer = isProper ? std::optional(value) : std::nullopt;
    attributes_.setCurrentValue(name, answer);
    if (!answer) return answer;
    if (const auto change = routes_.read(name, value, possibleValues(host_.plugin(), name))) {
        tellListeners([&](SessionListener& listener) { listener.routeChanged(*change); });
    }
    return answer;
}

// Without a connection no value is known any longer.
void WorkbenchSession::endReading() {
    reading_.stop();
    const bool areUnread = canAsk();
    for (const std::string& name : areUnread ? unread_ : attributes_.names()) {
        attributes_.setCurrentValue(name, std::nullopt, areUnread);
    }
    unread_.clear();
    observer_.sessionHasChanged();
}

}  // namespace velmora
