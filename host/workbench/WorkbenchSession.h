// What a person does with the plugin through the workbench: the host's operations, each announced if it may wait for
// the switch server, and the reading of current values, which by itself never takes long.
#pragma once

#include <QTimer>
#include <chrono>
#include <deque>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "host/PluginHost.h"
#include "host/Salvo.h"
#include "host/workbench/AttributesModel.h"
#include "host/workbench/Edits.h"
#include "host/workbench/Routes.h"
#include "host/workbench/SessionListener.h"
#include "host/workbench/Situation.h"
#include "host/workbench/Standstill.h"
#include "host/workbench/StandstillTally.h"

namespace velmora {

// Main thread. Values are read, from the event loop, after each change notice, after one was set, and on refresh; not
// while the plugin says that there is no connection.
class WorkbenchSession {
  public:
    class Observer {
      public:
        virtual ~Observer() = default;
        // The situation, the notices or the outcome may have changed.
        virtual void sessionHasChanged() = 0;
        // Comes before a call that may block the main thread until the server answers: paint at once whatever must be
        // seen meanwhile. `what` is a sentence for it.
        virtual void serverWillBeAwaited(const QString& what) = 0;
        virtual void serverWasAwaited() = 0;
    };

    // Neither is owned; both outlive the session. The host has loaded the plugin.
    WorkbenchSession(PluginHost& host, Observer& observer);
    WorkbenchSession(const WorkbenchSession&) = delete;
    WorkbenchSession& operator=(const WorkbenchSession&) = delete;
    ~WorkbenchSession();

    // Stops the plugin first if it is started, because it expects that. False when it does not want to start.
    bool start(bool setCurrentValuesToDefaults);
    void stop();
    void handOver(const DictionaryReference& settings);
    // Hands the plugin its own settings, which makes it connect anew.
    void reconnect() { handOver(settings()); }
    // Restarts the plugin without defaults.
    void disarm() { start(false); }
    // Asks for all current values, but stops when that has blocked the main thread for too long in total.
    void refresh();
    // Asks, while nothing else goes on, every two seconds for the values that can be seen. Off at first.
    void setPolling(bool polls);
    bool isPolling() const { return polling_.isActive(); }
    // Tells which attributes can be seen; all, unless it is set.
    void setSeen(std::function<std::deque<std::string>()> seen) { seen_ = std::move(seen); }
    // Sets the value in a moment, so that the pop-up that it was chosen in is gone from the screen before the server is
    // waited for. A value that is no longer possible by then is not set.
    void setLater(const std::string& name, const std::string& value);
    // Both block until the server has answered all of it. Whether all of these values are known now; whether the device
    // has the value now.
    bool readNow(const std::vector<std::string>& names);
    bool setNow(const std::string& name, const std::string& value);

    // Not owned; each is removed before it goes.
    void addListener(SessionListener& listener) { listeners_.push_back(&listener); }
    void removeListener(SessionListener& listener) { std::erase(listeners_, &listener); }

    // Of a file that may name attributes in all the ways that "velmora-host apply" takes.
    Result<Salvo> salvoIn(const std::filesystem::path& file) const;

    DictionaryReference settings() const { return host_.plugin().defaultSettings(); }
    // Of the matrix; none without a connection.
    std::optional<std::size_t> numberOfInputs() const;
    bool isStarted() const { return host_.isStarted(); }
    // Whether the settings name a server and have outputs, as far as such things are known of the plugin.
    bool hasServer() const;
    bool hasOutputs() const;
    // An attribute's name for a person.
    std::string displayName(const std::string& name) const;
    // Whether each connection routes all outputs to their defaults.
    bool isArmed() const { return host_.isStartedWithDefaults(); }
    // What the attribute had before its value last changed, through whomever. None where that is not known.
    std::optional<std::string> previousValue(const std::string& name) const { return routes_.previous(name); }
    // Whether what a person does right now is done to a window that shows what is. The window discards clicks and keys
    // made while it stood still by itself; this is for what acts on other events.
    bool mayAct() const { return standstill_.mayAct(); }
    bool isReading() const { return !unread_.empty(); }
    // Whether there is a device to ask for a value, as far as the plugin tells.
    bool canAsk() const;
    // Why nothing can be read or set, in words; "" when there is a device to ask.
    QString obstacle() const;
    // Where the connection stands, in words.
    Situation situation() const;
    // What was edited in the settings since the attributes were built.
    Edits edits() const;
    // Since when none of the values that can be seen has been read anew, in words; "" when none is known.
    QString age() const;
    AttributesModel& attributes() { return attributes_; }
    // In words; "" before the first one.
    QString lastNotice() const { return lastNotice_; }
    // What came of the last operation; "" once the connection has come or gone since.
    QString outcome() const { return outcome_; }
    // The same after its time.
    QString timedOutcome() const { return outcome_.isEmpty() ? outcome_ : outcomeTime_ + "  " + outcome_; }
    // How long the window stood still when the plugin last read its labels, in words; "" when it did not.
    QString costOfConnecting() const { return tally_.costOfConnecting(); }
    // How long the window stood still last, and why; "" before the first time.
    QString lastStandstill() const { return tally_.text(); }
    void setOutcome(const QString& outcome);

  private:
    void attributesHaveChanged();
    void statusHasChanged();
    void forgetOtherServer();
    void beginReading(std::chrono::milliseconds limit, std::chrono::milliseconds delay);
    void poll();
    std::deque<std::string> seenNames() const;
    void standstillHasEnded(std::chrono::milliseconds time);
    void readMore();
    // None when there was no proper answer.
    std::optional<std::string> read(const std::string& name);
    void endReading();
    // False.
    bool setHasFailed(const std::string& name, const QString& why);
    template <typename Call>
    void tellListeners(const Call& call);

    PluginHost& host_;
    Observer& observer_;
    AttributesModel attributes_;
    Routes routes_;
    std::vector<SessionListener*> listeners_;
    Standstill standstill_;
    QTimer reading_;
    std::deque<std::string> unread_;
    std::chrono::milliseconds readingLimit_{0};
    std::chrono::milliseconds readingTime_{0};
    bool isAsking_ = false;       // the device, for a value
    bool hasKeptLabels_ = false;  // of an earlier building, until the device answers
    bool isPoll_ = false;         // nobody waits for it, and what it does not reach stays as it is
    QTimer polling_;
    std::function<std::deque<std::string>()> seen_;
    std::deque<std::string> notReached_;  // by the last poll; the next begins with them
    std::optional<std::string> server_;   // that the values are of
    QString lastNotice_;
    int notices_ = 0;
    QString outcome_;
    QString outcomeTime_;
    bool couldAsk_ = false;  // when that was said
    StandstillTally tally_;
    ConfiguredOutputs built_;  // what the attributes were built from
};

}  // namespace velmora
