// What a person does with the plugin through the workbench: the host's operations, each said beforehand where it may
// wait for the switch server, and reading of current values that never goes on for long by itself.
#pragma once

#include <QTime>
#include <QTimer>
#include <chrono>
#include <deque>
#include <optional>
#include <string>

#include "host/ConnectionWatch.h"
#include "host/PluginHost.h"
#include "host/workbench/AttributesModel.h"
#include "host/workbench/Situation.h"

namespace velmora {

// Main thread. Values are read, from the event loop, after each change notice, after one was set, and on refresh; not
// while the connection is down, when the plugin would answer with the first input.
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
        // Comes when the plugin turns to a server, for whom it may wait at once; a change notice follows. In the midst
        // of a log line: nothing may be logged.
        virtual void serverIsBeingSelected() = 0;
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
    // Forgets the current values when the connection has ended; for when the log has grown.
    void checkConnection();
    // In a moment: a pop-up from which it is called shall be gone from the screen before the server is waited for. What
    // is no longer possible then is not set.
    void setLater(const std::string& name, const std::string& value);

    DictionaryReference settings() const { return host_.plugin().defaultSettings(); }
    bool isStarted() const { return host_.isStarted(); }
    bool isReading() const { return !unread_.empty(); }
    Situation situation() const;
    AttributesModel& attributes() { return attributes_; }
    // In words; "" before the first one.
    QString lastNotice() const { return lastNotice_; }
    // What came of the last thing done.
    QString outcome() const { return outcome_; }
    void setOutcome(const QString& outcome);

  private:
    class Waiting;

    void attributesHaveChanged();
    void set(const std::string& name, const std::string& value);
    void beginReading(std::chrono::milliseconds limit, std::chrono::milliseconds delay);
    void readMore();
    // None when the connection has ended: the plugin's answer is none then.
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
    bool hasBuiltAttributes_ = false;  // since the start
    ConnectionWatch connection_;
};

}  // namespace velmora
