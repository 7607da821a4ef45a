// What every command works with.
#pragma once

#include "host/Options.h"
#include "host/PluginHost.h"
#include "host/terminal/Report.h"

namespace velmora {

// Nothing is owned; all of it outlives the command. The host has loaded the plugin.
struct Context {
    PluginHost& host;
    const Options& options;
    // As they are in the file. The plugin may have been given a part of them.
    const DictionaryReference& settings;
    Report& report;

    VelmoraNodePluginProtocol& plugin() const { return host.plugin(); }
};

}  // namespace velmora
