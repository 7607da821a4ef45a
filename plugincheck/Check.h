// The checks that there are.
#pragma once

#include <span>
#include <string_view>

#include "plugincheck/Options.h"
#include "plugincheck/Trial.h"

namespace velmora {

// Runs in a process of its own, which ends inside it when the check fails or cannot be made. When it returns, the check
// holds.
struct Check {
    const char* name;
    const char* description;
    void (*run)(const CheckOptions& options);
    // Whether the process has a window system; others have only an event loop.
    bool hasWindows = false;
};

std::span<const Check> allChecks();
// Null when there is none of that name.
const Check* findCheck(std::string_view name);

// Of the bundle and what it holds.
void checkInformation(const CheckOptions& options);
void checkEntry(const CheckOptions& options);
void checkLoading(const CheckOptions& options);

// Of a plugin's life.
void checkNames(Trial& trial);
void checkBeforeStart(Trial& trial);
void checkAfterStop(Trial& trial);
void checkStartedTwice(Trial& trial);
void checkStoppedTwice(Trial& trial);
void checkReleaseWithoutStop(Trial& trial);
void checkDelegate(Trial& trial);
void checkDelegateThread(Trial& trial);
void checkDelegateReleases(Trial& trial);

// Of its attributes.
void checkUnknownNames(Trial& trial);
void checkAttributeNames(Trial& trial);
void checkAttributeRecords(Trial& trial);
void checkAttributeValues(Trial& trial);
void checkSetValues(Trial& trial);
void checkLookUpThreads(Trial& trial);

// Of its settings.
void checkNoSettings(Trial& trial);
void checkSettingsReturned(Trial& trial);
void checkSettingsAreNew(Trial& trial);
void checkHostileSettings(Trial& trial);
void checkHostileSettingsWhileStarted(Trial& trial);

// Of its settings view.
void checkView(Trial& trial);
void checkViewWithoutWindows(Trial& trial);

// Of the status protocol.
void checkStatus(Trial& trial);
void checkStatusObserver(Trial& trial);
void checkStatusObserverReleases(Trial& trial);

}  // namespace velmora
