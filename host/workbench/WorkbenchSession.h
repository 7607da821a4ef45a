// What a person does with the plugin through the workbench: the host's operations, each said beforehand where it may
// wait for the switch server, and reading of current values that never goes on for long by itself.
#pragma once

#include <QTime>
#include <QTimer>
#include <chrono>
#include <deque>
#include <optional>
#include <string>

#include "host/PluginHost.h"
#include "host/workbench/AttributesModel.h"
#include "host/workbench/Situation.h"

namespace velmora {

// Main thread. Values are read, from the event loop, after each change notice, after one was set, and on refresh; not
// while the plugin says that there is no connection.
class WorkbenchSession {
  public:
    class Observer {
      public:
        virtual ~Observer() = default;
        // The situation, the notices or the outcome may be others.
        virtual void sessionHasChanged() = 0;
        // Comes before a call that may block the main thread until the server answers, ten seconds for each command;
        // what is to be seen meanwhile must be painted at once.
        virtual void serverWillBeAwaited() = 0;
        virtual void serverWasAwaited() = 0;
    };

    // Neither is owned; both outlive the session. The host has loaded the plugin.
    WorkbenchSession(PluginHost& host, Observer& observer);
    WorkbenchSession(const WorkbenchSession&) = delete;
    WorkbenchSession& operator=(const WorkbenchSession&) = delete;
    ~WorkbenchSession();

    // Stops the plugin first if it is started, as it expects. False when it does not want to start.
    bool start(bool setCurrentValuesToDefaults);
    void stop();
    void handOver(const DictionaryReference& settings);
    // Hands the plugin its own settings, whereupon it connects anew.
    void reconnect() { handOver(settings()); }
    // Asks for all current values, until one reading has blocked the main thread for too long altogether.
    void refresh();
    // In a moment: a pop-up from which it is called shall be gone from the screen before the server is waited for. What
    // is no longer possible then is not set.
    void setLater(const std::string& name, const std::string& value);

    DictionaryReference settings() const { return host_.plugin().defaultSettings(); }
    // Of the matrix, as long as there is a connection.
    std::optional<std::size_t> numberOfInputs() const;
    bool isStarted() const { return host_.isStarted(); }
    bool isReading() const { return !unread_.empty(); }
    // Whether a value would be answered for by somebody, as far as the plugin tells.
    bool canAsk() const;
    Situation situation() const { return situationOf(host_); }
    AttributesModel& attributes() { return attributes_; }
    // In words; "" before the first one.
    QString lastNotice() const { return lastNotice_; }
    // What came of the last thing done.
    QString outcome() const { return outcome_; }
    void setOutcome(const QString& outcome);

  private:
    class Waiting;

    void attributesHaveChanged();
    void statusHasChanged();
    void set(const std::string& name, const std::string& value);
    void beginReading(std::chrono::milliseconds limit, std::chrono::milliseconds delay);
    void readMore();
    // None when nobody gave it.
    std::optional<std::string> read(const std::string& name);
    void endReading();

    PluginHost& host_;
    Observer& observer_;
    AttributesModel attributes_;
    QTimer reading_;
    std::deque<std::string> unread_;
    std::chrono::milliseconds readingLimit_{0};
    std::chrono::milliseconds readingTime_{0};
    QString lastNotice_;
    QString outcome_;
    int notices_ = 0;
};

}  // namespace velmora
