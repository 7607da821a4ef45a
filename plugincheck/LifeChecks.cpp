// Of a plugin's life, and of its delegate.
#include "platform/foundation/Text.h"
#include "plugincheck/Check.h"

namespace velmora {

namespace {

// Does what makes a plugin tell of its attributes, until it has.
void provokeNotice(Trial& trial) {
    const auto isTold = [&] { return !trial.hasPlugin() || trial.listener().attributes.count > 0; };
    trial.setGivenSettings();
    if (!isTold()) trial.startOrEnd();
    if (!isTold()) trial.serveUntil(isTold, trial.options().wait);
}

}  // namespace

void checkNames(Trial& trial) {
    const std::string name = trial.name();
    require(!name.empty(), "pluginName is empty");
    const auto requireSame = [&](const char* when) {
        const std::string now = trial.name();
        require(now == name,
                stringWithFormat("pluginName was %@ and is %@ %@", quotedText(name), quotedText(now), when));
    };
    trial.start();
    trial.useEverything();
    requireSame("after the start");
    trial.stop();
    requireSame("after the stop");
}

void checkBeforeStart(Trial& trial) {
    trial.useEverything();
    trial.serveShortly();
    trial.useEverything();
}

void checkAfterStop(Trial& trial) {
    trial.start();
    trial.serveShortly();
    trial.stop();
    trial.useEverything();
    trial.serveShortly();
    trial.useEverything();
}

void checkStartedTwice(Trial& trial) {
    const auto first = trial.start();
    trial.serveShortly();
    trial.start();
    trial.useEverything();
    trial.serveShortly();
    trial.stop();
    trial.useEverything();
    const auto again = trial.start();
    require(first == again, stringWithFormat("the first start answered %i, the one after a stop %i", first, again));
    trial.useEverything();
}

void checkStoppedTwice(Trial& trial) {
    trial.stop();
    trial.useEverything();
    trial.start();
    trial.serveShortly();
    trial.stop();
    trial.stop();
    trial.useEverything();
    trial.serveShortly();
}

void checkReleaseWithoutStop(Trial& trial) {
    for (const bool isServed : {false, true}) {
        trial.startOrEnd();
        if (isServed) trial.serveShortly();
        trial.release();
        const int told = trial.listener().attributes.count;
        trial.serveShortly();
        require(trial.listener().attributes.count == told, "the delegate was called after the plugin was released");
        if (!isServed) trial.makePlugin();
    }
}

void checkDelegate(Trial& trial) {
    const auto delegate = [&] {
        return trial.during("delegate", kLookUpTime, [&] { return trial.plugin().delegate(); });
    };
    require(delegate() == &trial.listener(), "delegate does not give the delegate that was set");
    trial.setDelegate(nullptr);
    require(delegate() == nullptr, "delegate does not give null after it was cleared");
    const int told = trial.listener().attributes.count;
    trial.setGivenSettings();
    trial.start();
    trial.setGivenSettings();
    trial.serveShortly();
    trial.stop();
    trial.serveShortly();
    require(trial.listener().attributes.count == told, "the delegate was called after it was cleared");
}

void checkDelegateThread(Trial& trial) {
    trial.startOrEnd();
    trial.setGivenSettings();
    trial.waitForDevice();
    const auto& notices = trial.listener().attributes;
    trial.requireNoticesOnMainThread();
    if (notices.count == 0) notApplicable("the plugin did not tell of its attributes; --settings or --wait may help");
    require(notices.pluginName == trial.name(),
            stringWithFormat("the delegate was told the name %@, the plugin's is %@", quotedText(notices.pluginName),
                             quotedText(trial.name())));
}

void checkDelegateReleases(Trial& trial) {
    auto& listener = trial.listener();
    const auto releaseIn = [&](bool isStarted) {
        if (isStarted) trial.startOrEnd();
        listener.attributes.count = 0;
        listener.onAttributes = [&] { trial.release(); };
        provokeNotice(trial);
        listener.onAttributes = nullptr;
        if (trial.hasPlugin()) {
            notApplicable("the plugin did not tell of its attributes; --settings or --wait may help");
        }
        trial.serveShortly();
    };
    releaseIn(false);
    trial.makePlugin();
    releaseIn(true);
}

}  // namespace velmora
