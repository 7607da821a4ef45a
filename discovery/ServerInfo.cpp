#include "discovery/ServerInfo.h"

#include "platform/foundation/NSLog.h"

namespace velmora {

void ServerInfo::registerClient(const std::shared_ptr<NSObject>& client) {
    _clientsArray.push_back(client);
    NSLog("A new client has registered: %@", client->description());
}

void ServerInfo::unRegisterClient(const std::shared_ptr<NSObject>& client) {
    std::erase(_clientsArray, client);
    NSLog("A client has unregistered: %@", client->description());
}

}  // namespace velmora
