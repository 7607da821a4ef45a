#include "host/workbench/WorkbenchSession.h"

#include <QElapsedTimer>
#include <utility>

#include "host/PluginState.h"
#include "host/Reason.h"
#include "platform/widgets/DisplayText.h"

namespace velmora {

namespace {

// How long one reading of all values may block the main thread altogether: by itself, and when a person asks for it.
constexpr std::chrono::milliseconds kUnaskedReading{1000};
constexpr std::chrono::milliseconds kAskedReading{30'000};
// Notices that follow each other more closely lead to one reading.
constexpr std::chrono::milliseconds kNoticesTogether{100};
// So long after it was closed, a pop-up is gone from the screen.
constexpr std::chrono::milliseconds kPopUpGone{30};
// After so long the event loop has its turn.
constexpr std::chrono::milliseconds kReadingAtATime{50};

}  // namespace

class WorkbenchSession::Waiting {
  public:
    explicit Waiting(WorkbenchSession& session) : session_(session) { session.observer_.serverWillBeAwaited(); }
    Waiting(const Waiting&) = delete;
    Waiting& operator=(const Waiting&) = delete;
    ~Waiting() { session_.observer_.serverWasAwaited(); }

  private:
    WorkbenchSession& session_;
};

WorkbenchSession::WorkbenchSession(PluginHost& host, Observer& observer)
    : host_(host), observer_(observer), connection_([&observer] { observer.serverIsBeingSelected(); }) {
    reading_.setSingleShot(true);
    QObject::connect(&reading_, &QTimer::timeout, &reading_, [this] { readMore(); });
    host_.setAttributesObserver([this] { attributesHaveChanged(); });
}

WorkbenchSession::~WorkbenchSession() {
    host_.setAttributesObserver(nullptr);
}

bool WorkbenchSession::start(bool setCurrentValuesToDefaults) {
    if (isStarted()) stop();
    hasBuiltAttributes_ = false;
    const bool good = host_.start(setCurrentValuesToDefaults);
    setOutcome(!good                        ? "The plugin did not start; its log says why."
               : setCurrentValuesToDefaults ? "Started with defaults: each connection routes the default inputs."
                                            : "Started; routes are left as they are.");
    return good;
}

void WorkbenchSession::stop() {
    endReading();
    {
        const Waiting waiting(*this);
        host_.stop();
    }
    connection_.forgetEnd();
    attributes_.reload(host_.plugin());
    setOutcome("Stopped.");
}

void WorkbenchSession::handOver(const DictionaryReference& settings) {
    endReading();
    {
        const Waiting waiting(*this);
        host_.plugin().setDefaultSettings(settings);
    }
    setOutcome("The settings were handed to the plugin.");
}

void WorkbenchSession::refresh() {
    beginReading(kAskedReading, {});
}

void WorkbenchSession::checkConnection() {
    if (connection_.hasEnded()) endReading();
}

Situation WorkbenchSession::situation() const {
    return situationOf(host_.plugin(), {isStarted(), hasBuiltAttributes_, connection_.end()});
}

void WorkbenchSession::setOutcome(const QString& outcome) {
    outcome_ = outcome;
    observer_.sessionHasChanged();
}

// Inside the plugin's operation, so only look-ups are made here.
void WorkbenchSession::attributesHaveChanged() {
    attributes_.reload(host_.plugin());
    hasBuiltAttributes_ = true;
    const auto count = attributes_.rowCount();
    lastNotice_ = QString("Change notice %1 at %2: %3 attribute%4")
                      .arg(++notices_)
                      .arg(QTime::currentTime().toString("HH:mm:ss"))
                      .arg(count)
                      .arg(count == 1 ? "" : "s");
    beginReading(kUnaskedReading, kNoticesTogether);
    observer_.sessionHasChanged();
}

void WorkbenchSession::setLater(const std::string& name, const std::string& value) {
    QTimer::singleShot(kPopUpGone, &reading_, [this, name, value] { set(name, value); });
}

void WorkbenchSession::set(const std::string& name, const std::string& value) {
    const QString what = quotedName(name) + " to " + quotedName(value);
    if (connection_.hasEnded() || !attributes_.isPossible(name, value)) {
        setOutcome(
            "Did not set " + what + ": " +
            (connection_.hasEnded() ? "there is no connection." : "that is no longer one of the possible values."));
        return;
    }
    std::optional<std::string> now;
    {
        const Waiting waiting(*this);
        const Reason reason;
        if (host_.plugin().setValueForAttributeWithName(value, name) != 0) {
            setOutcome("The plugin refused to set " + what + ": " + displayText(reason.text()));
            return;
        }
        now = read(name);
    }
    // That the plugin has handed the value on does not mean that the switcher has it.
    if (!now || now->empty()) {
        setOutcome("Setting " + what + " was handed on, but cannot be read back.");
    } else if (inputNumber(*now) != inputNumber(value)) {
        setOutcome("Setting " + what + " was handed on, but the switcher has " + quotedName(*now) + ".");
    } else {
        setOutcome("Set " + what + ".");
    }
}

void WorkbenchSession::beginReading(std::chrono::milliseconds limit, std::chrono::milliseconds delay) {
    const auto names = attributes_.names();
    unread_.assign(names.begin(), names.end());
    readingLimit_ = limit;
    readingTime_ = {};
    reading_.start(delay);
}

void WorkbenchSession::readMore() {
    if (situation().kind != Situation::Kind::connected) {
        endReading();
        return;
    }
    QElapsedTimer elapsed;
    elapsed.start();
    {
        const Waiting waiting(*this);
        while (!unread_.empty() && elapsed.elapsed() < kReadingAtATime.count()) {
            if (!read(unread_.front())) break;
            unread_.pop_front();
        }
    }
    readingTime_ += std::chrono::milliseconds(elapsed.elapsed());
    if (unread_.empty()) {
        observer_.sessionHasChanged();
    } else if (connection_.hasEnded()) {
        endReading();
    } else if (readingTime_ > readingLimit_) {
        const auto left = unread_.size();
        endReading();
        setOutcome(
            QString("The server answers slowly: %1 of the current values were not read. Refresh Values reads them.")
                .arg(left));
    } else {
        reading_.start(0);
    }
}

std::optional<std::string> WorkbenchSession::read(const std::string& name) {
    const std::string value = host_.plugin().currentValueOfAttributeWithName(name);
    if (connection_.hasEnded()) return std::nullopt;
    attributes_.setCurrentValue(name, value);
    return value;
}

// What was not read is no longer known.
void WorkbenchSession::endReading() {
    reading_.stop();
    const bool isConnected = situation().kind == Situation::Kind::connected;
    for (const std::string& name :
         isConnected ? std::vector<std::string>(unread_.begin(), unread_.end()) : attributes_.names()) {
        attributes_.forgetCurrentValue(name);
    }
    unread_.clear();
    observer_.sessionHasChanged();
}

}  // namespace velmora
