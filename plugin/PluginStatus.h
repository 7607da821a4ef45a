// Tells the host how the connection stands and what came of the last value that was read or set.
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

// The state of the connection by what the controller knows now; null for a plugin that is not started. The name is the
// one in the settings, "" for none. `since` is set only where the connection has ended or failed.
NodePluginConnectionStatus connectionStatusOf(const VelmoraSwitchController* controller, const std::string& name);

// Main thread only.
class PluginStatus final {
  public:
    // The source answers connectionStatusOf as of now. The owner is the plugin, of which this is a part.
    PluginStatus(NSObject& owner, std::string pluginName, std::function<NodePluginConnectionStatus()> source);

    NodePluginConnectionStatus connection() const;
    NodePluginOutcome outcome() const;
    void setObserver(VelmoraNodePluginStatusProtocol_Observer* observer);

    // Lives while an operation of the plugin runs that may call the host back. It keeps the plugin alive, and the
    // observer waiting until the outermost operation has ended.
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

    // The outcome of reading or setting the attribute: refused by the plugin, impossible without a connection, or as
    // the switcher says, which may still change it when the connection ends.
    void noteRefusal(const std::string& attributeName, const std::string& reason);
    void noteNoConnection(const std::string& attributeName);
    void noteExchange(const std::string& attributeName, std::shared_ptr<const CommandOutcome> outcome);

    // Looks at the connection anew. The observer is told later if that is news for it.
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
    // Set where the outcome is a switcher's; beside it what it was when it was noted or told last.
    std::shared_ptr<const CommandOutcome> exchange_;
    CommandAnswer toldAnswer_ = CommandAnswer::answered;
    NodePluginConnectionStatus toldConnection_;
    VelmoraNodePluginStatusProtocol_Observer* observer_ = nullptr;
    std::int32_t operations_ = 0;
    bool telling_ = false;  // on its way through the event loop
};

}  // namespace velmora
