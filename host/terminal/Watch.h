// The command "watch": tells what happens, a line each, until it is interrupted or nobody reads it any more.
#pragma once

#include <QJsonObject>
#include <QTimer>
#include <chrono>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "host/terminal/Context.h"
#include "host/terminal/Preparation.h"
#include "host/terminal/ValuePoll.h"

class QEventLoop;

namespace velmora {

// Main thread. It compares what the plugin tells with what it told before, outside the plugin's operations: after each
// notice, and often, because nobody gives notice of a server that has gone.
class Watch {
  public:
    explicit Watch(const Context& context);

    ExitCode run();

  private:
    struct Attribute {
        std::string name;
        std::optional<std::string> displayName;
        StringList possible;

        bool operator==(const Attribute& other) const;
    };

    void look(QEventLoop& loop);
    void lookAtConnection();
    void lookForServers();
    void lookAtAttributes();
    void lost(const NodePluginConnectionStatus& status, const std::string& reason);
    void connected(const NodePluginConnectionStatus& status);
    void tellOfValue(const std::string& name, const Reading& before, const Reading& now);
    void print(const char* event, const std::string& text, QJsonObject fields) const;

    const Context context_;
    Preparation preparation_;
    QTimer timer_;
    std::optional<ValuePoll> poll_;
    std::optional<NodePluginConnectionStatus> status_;  // as told last
    std::set<std::string> servers_;
    bool hasNotice_ = false;
    std::optional<std::vector<Attribute>> attributes_;
};

}  // namespace velmora
