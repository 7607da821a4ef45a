// The command "workbench": a window for a person, or a picture of it.
#pragma once

#include "host/ExitCode.h"
#include "host/Options.h"
#include "host/PluginHost.h"
#include "host/SettingsFile.h"

namespace velmora {

// Main thread, under an application object with windows. The host has loaded the plugin with the file's settings.
// Returns once the window is closed or the picture is written; the plugin may be left started.
ExitCode runWorkbench(PluginHost& host, SettingsFile& settingsFile, const Options& options);

}  // namespace velmora
