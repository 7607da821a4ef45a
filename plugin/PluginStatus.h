// What the plugin tells of its connection and of the last value that was read or set, and when it tells it.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include "platform/foundation/NSObject.h"
#include "plugin/VelmoraNodePluginStatusProtocol.h"
#include "switcher/CommandOutcome.h"

namespace velmora {

class VelmoraSwitchController;

// Where the connection of the plugin stands by what the controller knows now (null: not started). The name is the one
// in the settings, "" for none. `since` is set where the connection has ended or failed.
NodePluginConnectionStatus connectionStatusOf(const VelmoraSwitchController* controller, const std::string& name);

// Main thread only.
class PluginStatus final {
  public:
    // The source answers connectionStatusOf the present moment. The owner is the plugin, of which this is a part.
    PluginStatus(NSObject& owner, std::string pluginName, std::function<NodePluginConnectionStatus()> source);

    NodePluginConnectionStatus connection() const;
    NodePluginOutcome outcome() const;
    void setObserver(VelmoraNodePluginStatusProtocol_Observer* observer);

    // Lives while an operation of the plugin runs that may lead to a callback of the host: it keeps the plugin, and
    // keeps the observer waiting until the outermost one has ended.
    class Operation {
      public:
        explicit Operation(PluginStatus& status);
        Operation(const Operation&) = delete;
        Operation& operator=(const Operation&) = delete;
        ~Operation();

      private:
        const std::shared_ptr<NSObject> keepAlive_;
        PluginStatus& status_;
    };

    // What came of a read or a set of the attribute: refused by the plugin, not possible without a connection, or as
    // the switcher says, which may still change its mind.
    void noteRefusal(const std::string& attributeName, const std::string& reason);
    void noteNoConnection(const std::string& attributeName);
    void noteExchange(const std::string& attributeName, std::shared_ptr<const CommandOutcome> outcome);

    // Looks at the connection anew; the observer is told later when something has changed for it.
    void refresh();

  private:
    void note(const std::string& attributeName, NodePluginAnswer answer, std::string reason);
    bool isNews() const;
    void tell();

    NSObject& owner_;
    const std::string pluginName_;
    const std::function<NodePluginConnectionStatus()> source_;
    NodePluginConnectionStatus connection_;  // as of the last refresh
    NodePluginOutcome outcome_;
    // Where the outcome is a switcher's, and what it was when it was noted or told last.
    std::shared_ptr<const CommandOutcome> exchange_;
    CommandAnswer toldAnswer_ = CommandAnswer::answered;
    NodePluginConnectionStatus toldConnection_;
    VelmoraNodePluginStatusProtocol_Observer* observer_ = nullptr;
    std::int32_t operations_ = 0;
    bool telling_ = false;  // on its way through the event loop
};

}  // namespace velmora
