// The module's one exported symbol: what the host's NSBundle reads before it calls anything.
#include <new>

#include "platform/foundation/NSBundle.h"
#include "plugin/VelmoraSwitchNodePlugin.h"

namespace {

velmora::NSObject* makePrincipalObject(const std::shared_ptr<velmora::NSBundle>& bundle) {
    return new (std::nothrow) velmora::VelmoraSwitchNodePlugin(bundle);
}

}  // namespace

const velmora::VelmoraBundleEntryRecord VelmoraBundleEntry = {velmora::kVelmoraNodePluginProtocolVersion,
                                                              "VelmoraSwitchNodePlugin", makePrincipalObject};
