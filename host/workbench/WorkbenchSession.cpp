#include "host/workbench/WorkbenchSession.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QScopeGuard>
#include <QScopedValueRollback>
#include <QTime>
#include <algorithm>
#include <utility>

#include "host/Attempt.h"
#include "host/Naming.h"
#include "host/PluginState.h"
#include "host/workbench/Words.h"
#include "host/workbench/salvos/SalvoFile.h"
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
// From one look at the values that can be seen to the next.
constexpr std::chrono::milliseconds kPollingTime{2000};

QString waitingText() {
    return Words::tr("Waiting for the device\u2026");
}

// Until the end of the block that it is called in.
[[nodiscard]] auto awaitServer(WorkbenchSession::Observer& observer, const QString& what) {
    observer.serverWillBeAwaited(what);
    return qScopeGuard([&observer] { observer.serverWasAwaited(); });
}

QString now() {
    return QTime::currentTime().toString("HH:mm:ss");
}

}  // namespace

template <typename Call>
void WorkbenchSession::tellListeners(const Call& call) {
    for (SessionListener* const listener : std::vector(listeners_)) {
        call(*listener);
    }
}

WorkbenchSession::WorkbenchSession(PluginHost& host, Observer& observer)
    : host_(host),
      observer_(observer),
      standstill_([this](std::chrono::milliseconds time) { standstillHasEnded(time); }) {
    reading_.setSingleShot(true);
    QObject::connect(&reading_, &QTimer::timeout, &reading_, [this] { readMore(); });
    QObject::connect(&polling_, &QTimer::timeout, &polling_, [this] { poll(); });
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
    setOutcome(!good                        ? Words::tr("The plugin did not start; its log says why.")
               : setCurrentValuesToDefaults ? Words::tr("Started with defaults: %1.").arg(Words::tr(kWhatDefaultsDo))
                                            : QString());
    attributes_.reload(host_.plugin());  // some plugins have them at once
    beginReading(kUnaskedReading, kNoticesTogether);
    return good;
}

void WorkbenchSession::stop() {
    endReading();
    {
        const auto waiting = awaitServer(observer_, waitingText());
        host_.stop();
    }
    attributes_.reload(host_.plugin());
    lastNotice_.clear();
    setOutcome(Words::tr("Stopped."));
}

void WorkbenchSession::handOver(const DictionaryReference& settings) {
    endReading();
    {
        const auto waiting = awaitServer(observer_, Words::tr("Handing the plugin its settings\u2026"));
        host_.plugin().setDefaultSettings(settings);
    }
    setOutcome(Words::tr("The settings were handed to the plugin."));
}

void WorkbenchSession::refresh() {
    beginReading(kAskedReading, {});
}

void WorkbenchSession::setPolling(bool polls) {
    polls ? polling_.start(kPollingTime) : polling_.stop();
}

void WorkbenchSession::poll() {
    const bool isBusy = QApplication::activeModalWidget() != nullptr || QApplication::activePopupWidget() != nullptr;
    if (isBusy || isReading() || !canAsk()) return;
    std::deque<std::string> names = seenNames();
    std::stable_partition(names.begin(), names.end(), [this](const std::string& name) {
        return std::find(notReached_.begin(), notReached_.end(), name) != notReached_.end();
    });
    beginReading(kUnaskedReading, {});
    unread_ = std::move(names);
    isPoll_ = true;
}

std::deque<std::string> WorkbenchSession::seenNames() const {
    return seen_ ? seen_() : attributes_.names();
}

bool WorkbenchSession::canAsk() const {
    const auto status = host_.connectionStatus();
    return isStarted() && (!status || status->state == NodePluginConnectionState::connected);
}

QString WorkbenchSession::obstacle() const {
    if (canAsk()) return {};
    return isStarted() ? Words::tr("There is no connection.") : Words::tr("The plugin is stopped.");
}

bool WorkbenchSession::hasServer() const {
    const auto server = selectedServer(host_.plugin());
    return !server || !server->empty();
}

bool WorkbenchSession::hasOutputs() const {
    return !selectedServer(host_.plugin()) || hasConfiguredOutputs(host_.plugin());
}

std::string WorkbenchSession::displayName(const std::string& name) const {
    const auto shown = host_.plugin().displayNameOfAttributeWithName(name);
    return shown && !shown->empty() ? *shown : name;
}

std::optional<std::size_t> WorkbenchSession::numberOfInputs() const {
    return canAsk() ? velmora::numberOfInputs(host_.plugin()) : std::nullopt;
}

Situation WorkbenchSession::situation() const {
    Situation situation = situationOf(host_);
    const QString cost = costOfConnecting();
    if (situation.lamp == Lamp::waiting && !cost.isEmpty()) situation.text += ' ' + cost;
    return situation;
}

Edits WorkbenchSession::edits() const {
    if (!isStarted() || attributes_.rowCount() == 0) return {};
    return editsBetween(built_, configuredOutputsIn(settings()));
}

QString WorkbenchSession::age() const {
    const QDateTime oldest = attributes_.oldestReading(seenNames(), !canAsk());
    if (oldest.isNull()) return {};
    return (canAsk() ? Words::tr("values read %1") : Words::tr("values last read %1")).arg(oldest.toString("HH:mm:ss"));
}

void WorkbenchSession::standstillHasEnded(std::chrono::milliseconds time) {
    tally_.standstillHasEnded(std::chrono::steady_clock::now(), time);
    tellListeners([time](SessionListener& listener) { listener.standstillEnded(time); });
    observer_.sessionHasChanged();
}

void WorkbenchSession::setOutcome(const QString& outcome) {
    outcome_ = outcome;
    outcomeTime_ = now();
    couldAsk_ = canAsk();
    observer_.sessionHasChanged();
}

// Inside the plugin's operation, so only look-ups are made here. The status is told only after it, and the plugin may
// read its labels before anything is painted again: what is not known now must look so at once.
void WorkbenchSession::attributesHaveChanged() {
    forgetOtherServer();
    built_ = configuredOutputsIn(settings());  // at once: an edit may follow
    // The connection may still count as standing while the plugin builds without the labels of a server that leaves.
    hasKeptLabels_ = attributes_.reload(host_.plugin(), true);
    const auto count = attributes_.rowCount();
    lastNotice_ =
        Words::tr("Change notice %1 at %2: %n attributes", nullptr, count).arg(QString::number(++notices_), now());
    if (canAsk()) tally_.labelsWereRead(std::chrono::steady_clock::now());
    // The plugin routes them when it connects, so it is nobody else's doing.
    for (const std::string& name : isArmed() ? attributes_.names() : std::deque<std::string>()) {
        routes_.willSet(name, host_.plugin().defaultValueOfAttributeWithName(name).value_or(""));
    }
    if (canAsk()) {
        beginReading(kUnaskedReading, kNoticesTogether);
    } else {
        endReading();
    }
    observer_.sessionHasChanged();
}

void WorkbenchSession::statusHasChanged() {
    const auto outcome = host_.lastOutcome();
    // The connection ended with what looked like an answer, so it was none.
    if (outcome && outcome->answer == NodePluginAnswer::connectionEnded && !isAsking_ &&
        !attributes_.hasMark(outcome->attributeName, AttributesModel::notKnown))
        attributes_.forgetValue(outcome->attributeName);
    forgetOtherServer();
    if (!canAsk()) endReading();
    if (canAsk() != couldAsk_) outcome_.clear();
    observer_.sessionHasChanged();
}

Result<Salvo> WorkbenchSession::salvoIn(const std::filesystem::path& file) const {
    const DictionaryReference known = settings();
    return readSalvo(file, Naming(host_.plugin(), known));
}

// The values of another server say nothing about this one.
void WorkbenchSession::forgetOtherServer() {
    const auto server = selectedServer(host_.plugin());
    if (std::exchange(server_, server) == server) return;
    attributes_.forgetValues();
    attributes_.reload(host_.plugin());
}

void WorkbenchSession::setLater(const std::string& name, const std::string& value) {
    QTimer::singleShot(kPopUpGone, &reading_, [this, name, value] { setNow(name, value); });
}

bool WorkbenchSession::readNow(const std::vector<std::string>& names) {
    const auto waiting = awaitServer(observer_, waitingText());
    const auto isRead = [this](const std::string& name) { return canAsk() && read(name).has_value(); };
    return std::count_if(names.begin(), names.end(), isRead) == std::ssize(names);
}

bool WorkbenchSession::setNow(const std::string& name, const std::string& value) {
    const QString shown = quotedName(name);
    const QString wanted = quotedName(value);
    if (!canAsk() || !attributes_.isPossible(name, value)) {
        const QString why = canAsk() ? Words::tr("Did not set %1 to %2: that is no longer one of the possible values.")
                                     : Words::tr("Did not set %1 to %2: there is no connection.");
        return setHasFailed(name, why.arg(shown, wanted));
    }
    const Values values = possibleValues(host_.plugin(), name);
    std::optional<std::string> now;
    QString refusal;
    {
        const auto waiting = awaitServer(observer_, waitingText());
        const Attempt attempt(host_);
        if (host_.plugin().setValueForAttributeWithName(value, name) != 0) {
            return setHasFailed(
                name,
                Words::tr("The plugin refused to set %1 to %2: %3").arg(shown, wanted, displayText(attempt.reason())));
        }
        routes_.willSet(name, value);
        if (attempt.isAnswered() == false) refusal = " (" + displayText(attempt.reason()) + ")";
        now = read(name);
    }
    // The plugin has handed the value on, which does not mean that the switcher has it.
    if (!now)
        return setHasFailed(
            name, Words::tr("Setting %1 to %2 was handed on, but cannot be read back%3.").arg(shown, wanted, refusal));
    if (!values.areSame(*now, value))
        return setHasFailed(name, Words::tr("Setting %1 to %2 was handed on, but the device has %3%4.")
                                      .arg(shown, wanted, quotedName(*now), refusal));
    setOutcome(Words::tr("Set %1 to %2.").arg(shown, wanted));
    return true;
}

bool WorkbenchSession::setHasFailed(const std::string& name, const QString& why) {
    tellListeners([&](SessionListener& listener) { listener.setFailed(name, why.toStdString()); });
    setOutcome(why);
    return false;
}

void WorkbenchSession::beginReading(std::chrono::milliseconds limit, std::chrono::milliseconds delay) {
    unread_ = attributes_.names();
    readingLimit_ = limit;
    readingTime_ = {};
    isPoll_ = false;
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
        std::optional<decltype(awaitServer(observer_, {}))> waiting;
        if (!isPoll_) waiting.emplace(awaitServer(observer_, waitingText()));
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
        notReached_.clear();
        observer_.sessionHasChanged();
    } else if (readingTime_ > readingLimit_) {
        const auto left = unread_.size();
        const bool isPoll = isPoll_;
        endReading();
        if (isPoll) return;
        setOutcome(
            Words::tr("The device answers slowly: %n of the current values were not read. Refresh Values reads them.",
                      nullptr, static_cast<int>(left)));
    } else {
        reading_.start(0);
    }
}

std::optional<std::string> WorkbenchSession::read(const std::string& name) {
    const QScopedValueRollback asking(isAsking_, true);
    const Attempt attempt(host_);
    const std::string value = host_.plugin().currentValueOfAttributeWithName(name);
    const bool isProper = !value.empty() && attempt.isAnswered().value_or(true);
    const auto answer = isProper ? std::optional(value) : std::nullopt;
    attributes_.setCurrentValue(name, answer);
    if (!answer) return answer;
    // The connection stands, so a label that the plugin does not have is none.
    if (canAsk() && std::exchange(hasKeptLabels_, false)) attributes_.reload(host_.plugin());
    const Values possible = possibleValues(host_.plugin(), name);
    const auto place = possible.indexOf(value);  // it may be called otherwise there
    if (const auto change = routes_.read(name, place ? possible.texts()[*place] : value, possible)) {
        tellListeners([&](SessionListener& listener) { listener.routeChanged(*change); });
    }
    return answer;
}

// Without a connection no value is known any longer, only what it was.
void WorkbenchSession::endReading() {
    reading_.stop();
    const bool areUnread = canAsk();
    if (areUnread && isPoll_) notReached_ = std::exchange(unread_, {});
    for (const std::string& name : areUnread ? unread_ : attributes_.names()) {
        attributes_.setCurrentValue(name, std::nullopt, areUnread);
    }
    unread_.clear();
    observer_.sessionHasChanged();
}

}  // namespace velmora
