// A plugin in the hands of a host that watches it closely. Whatever does not hold ends the check (Report.h).
#pragma once

#include <atomic>
#include <chrono>
#include <exception>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/foundation/NSBundle.h"
#include "plugin/VelmoraNodePluginProtocol.h"
#include "plugin/VelmoraNodePluginStatusProtocol.h"
#include "plugincheck/Options.h"
#include "plugincheck/Report.h"

namespace velmora {

// Look-ups ask nobody.
inline constexpr std::chrono::milliseconds kLookUpTime{2'000};
// What the trial itself begins: loading, an event loop beyond its time, the end of threads.
inline constexpr std::chrono::milliseconds kHostTime{20'000};
// Attributes whose values are read, of more: each may cost a question to the device.
inline constexpr std::size_t kMaximumValuesRead = 32;

// The failure of a check where the plugin throws in that operation.
[[noreturn]] void failAfterException(const std::string& operation, const char* what);

template <typename Call>
auto failingWhereItThrows(const std::string& operation, Call call) -> decltype(call()) {
    try {
        return call();
    } catch (const std::exception& exception) {
        failAfterException(operation, exception.what());
    } catch (...) {
        failAfterException(operation, "something that is no std::exception");
    }
}

// The trial's delegate and observer.
class Listener final : public VelmoraNodePluginProtocol_Delegate, public VelmoraNodePluginStatusProtocol_Observer {
  public:
    struct Notices {
        int count = 0;
        std::atomic<bool> onOtherThread = false;
        bool insideOperation = false;
        bool insideItself = false;
        std::string pluginName;  // of the last
    };
    void attributesChangedForPluginName(const std::string& pluginName) override { take(attributes, pluginName); }
    void statusChangedForPluginName(const std::string& pluginName) override { take(status, pluginName); }

    Notices attributes, status;
    // Called in a notice on the main thread, unless one is being handled; null for none.
    std::function<void()> onAttributes, onStatus;
    // How many operations of the plugin are running.
    int operations = 0;

  private:
    void take(Notices& notices, const std::string& pluginName);
    bool telling_ = false;
};

// Main thread only. Does what a host does: the bundle is loaded, a plugin made, told its delegate and given the
// settings that the check was given.
class Trial final {
  public:
    using Plugin = VelmoraNodePluginProtocol;
    struct Record {
        std::optional<std::string> displayName, type, defaultValue, direction;
        StringList possibleValues;
        bool isUnknown() const;
    };

    explicit Trial(const CheckOptions& options);
    Trial(const Trial&) = delete;
    Trial& operator=(const Trial&) = delete;
    ~Trial();

    const CheckOptions& options() const { return options_; }
    Listener& listener() { return listener_; }
    // Only while there is one.
    Plugin& plugin() { return *plugin_; }
    bool hasPlugin() const { return plugin_ != nullptr; }

    // Makes an operation of the plugin, however it is called in the protocol. The plugin may go meanwhile.
    template <typename Call>
    auto during(const std::string& operation, std::chrono::milliseconds limit, Call call) -> decltype(call()) {
        const Step step(operation, limit);
        const Counting counting(listener_.operations);
        return failingWhereItThrows(operation, std::move(call));
    }
    template <typename Call>
    auto during(const std::string& operation, Call call) -> decltype(call()) {
        return during(operation, options_.operationTime, std::move(call));
    }

    // The operations. Texts are UTF-8, and what must not be null is not.
    std::int32_t start();
    // The check cannot be made where the plugin does not start.
    void startOrEnd();
    void stop();
    void setDelegate(VelmoraNodePluginProtocol_Delegate* delegate);
    void setSettings(const DictionaryReference& settings);
    // Those that the check was given, or empty ones.
    void setGivenSettings();
    DictionaryReference settings();
    std::vector<std::string> names();
    std::string name();
    Record record(const std::string& name);
    std::string currentValue(const std::string& name);
    std::int32_t setValue(const std::string& value, const std::string& name);
    // Each operation once, but for start, stop and the view. No value of a device is changed.
    void useEverything();

    // The status protocol; null where it is not offered in a version that is known.
    VelmoraNodePluginStatusProtocol* status() { return status_.get(); }
    void setObserver(VelmoraNodePluginStatusProtocol_Observer* observer);
    // Also made at the end of each trial.
    void requireNoticesOnMainThread() const;
    // False where the plugin says that nobody has answered for the last value.
    bool isAnswered();

    // Until the condition holds; false when it does not within the time.
    bool serveUntil(const std::function<bool()>& condition, std::chrono::milliseconds time);
    // For as long as events need that are on their way.
    void serveShortly();
    // Until the plugin tells that its device is connected; the whole time with one that does not tell.
    void waitForDevice();
    // Starts the plugin and waits for its attributes, and for its connection if it tells of one. The check cannot be
    // made where none come.
    std::vector<std::string> startAndWaitForNames();

    // A new plugin, in place of the former one.
    void makePlugin();
    // Drops the plugin as it is. Also inside its callbacks.
    void release();
    // Ends as a host does: stops the plugin, clears what it was told, releases it and ends what its bundle has begun.
    void finish();
    // The same, and unloads the bundle.
    void finishAndUnload();

  private:
    class Counting {
      public:
        explicit Counting(int& count) : count_(count) { ++count_; }
        Counting(const Counting&) = delete;
        Counting& operator=(const Counting&) = delete;
        ~Counting() { --count_; }

      private:
        int& count_;
    };
    void stopAndRelease();
    bool isConnected() const;

    const CheckOptions& options_;
    std::shared_ptr<NSBundle> bundle_;
    Listener listener_;
    std::shared_ptr<Plugin> plugin_;
    std::shared_ptr<VelmoraNodePluginStatusProtocol> status_;
    bool mustBeStopped_ = false;
};

// What no plugin has as the name of an attribute.
inline constexpr const char* kUnknownName = "There is no such attribute";

}  // namespace velmora
