#include "plugincheck/Check.h"

#include <algorithm>

namespace velmora {

namespace {

// For a check that needs a plugin and leaves it to others to let go of it.
template <void (*run)(Trial&)>
void withPlugin(const CheckOptions& options) {
    Trial trial(options);
    run(trial);
    trial.finish();
}

constexpr Check kChecks[] = {
    {"information", "Info.plist can be read and names the module and its principal class", checkInformation},
    {"entry", "the module is loaded, has the right version and makes plugin objects, each a new one", checkEntry},
    {"names", "the plugin has a name and keeps it; name and version are UTF-8", withPlugin<checkNames>},
    {"before-start", "every operation before the start", withPlugin<checkBeforeStart>},
    {"after-stop", "every operation after the stop", withPlugin<checkAfterStop>},
    {"started-twice", "a second start without a stop, and one after it", withPlugin<checkStartedTwice>},
    {"stopped-twice", "a stop before the start, and two after it", withPlugin<checkStoppedTwice>},
    {"release-without-stop", "a started plugin is released", withPlugin<checkReleaseWithoutStop>},
    {"delegate", "the delegate is kept until it is cleared, and not called afterwards", withPlugin<checkDelegate>},
    {"delegate-thread", "the delegate is called on the main thread only, with the plugin's name",
     withPlugin<checkDelegateThread>},
    {"delegate-releases", "the delegate releases the plugin while it is called", withPlugin<checkDelegateReleases>},
    {"unknown-names", "attributes that do not exist are unknown to each operation", withPlugin<checkUnknownNames>},
    {"attribute-names", "attributes have names, and no two the same", withPlugin<checkAttributeNames>},
    {"attribute-records", "each attribute has a display name, a type and a direction",
     withPlugin<checkAttributeRecords>},
    {"attribute-values", "values are of the attribute's type and among the possible ones",
     withPlugin<checkAttributeValues>},
    {"set-values", "with --set: each attribute takes the value that it has, and keeps it", withPlugin<checkSetValues>},
    {"look-up-threads", "look-ups on other threads while the plugin is used", withPlugin<checkLookUpThreads>},
    {"no-settings", "null is taken as empty settings", withPlugin<checkNoSettings>},
    {"settings-returned", "settings that the plugin gives, and gets again, are the same, also from a file",
     withPlugin<checkSettingsReturned>},
    {"settings-new", "the plugin gives a new dictionary each time", withPlugin<checkSettingsAreNew>},
    {"settings-hostile", "settings of wrong types, huge, deep, with control characters",
     withPlugin<checkHostileSettings>},
    {"settings-hostile-started", "the same while the plugin is started", withPlugin<checkHostileSettingsWhileStarted>},
    {"view", "the settings view is made, shown and removed twice, and goes with the plugin", withPlugin<checkView>,
     true},
    {"view-without-windows", "without a window system there is no settings view", withPlugin<checkViewWithoutWindows>},
    {"status", "the status protocol tells a state that there is, and of the value that was read last",
     withPlugin<checkStatus>},
    {"status-observer", "the observer is called on the main thread and outside of operations",
     withPlugin<checkStatusObserver>},
    {"status-observer-releases", "the observer releases the plugin while it is called",
     withPlugin<checkStatusObserverReleases>},
    {"loading", "loaded, started, stopped and unloaded fifty times: threads, descriptors, processes and memory stay",
     checkLoading},
};

}  // namespace

std::span<const Check> allChecks() {
    return kChecks;
}

const Check* findCheck(std::string_view name) {
    const auto* const found =
        std::find_if(std::begin(kChecks), std::end(kChecks), [&](const Check& check) { return check.name == name; });
    return found != std::end(kChecks) ? found : nullptr;
}

}  // namespace velmora
