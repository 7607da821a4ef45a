// The record of one switch server that the system knows of.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/foundation/NSLog.h"
#include "platform/foundation/NSObject.h"
#include "platform/network/NSNetService.h"

namespace velmora {

// Main thread only.
class ServerInfo final : public NSObject {
  public:
    // Whether the record was made from saved settings; nothing reads it.
    bool fromPreferences() const { return _fromPreferences; }
    void setFromPreferences(bool fromPreferences) { _fromPreferences = fromPreferences; }

    // Whether the server is seen on the network now.
    bool isPresent() const { return _isPresent; }
    void setIsPresent(bool isPresent) { _isPresent = isPresent; }

    // How far the search for its address is; one that has failed may still succeed.
    enum class Resolution { underWay, failed, done };
    Resolution resolution() const { return resolution_; }
    void setResolution(Resolution resolution) { resolution_ = resolution; }

    // The key by which switchers find the record; none in a fresh one.
    const std::optional<std::string>& serverName() const { return _serverName; }
    void setServerName(std::optional<std::string> serverName) { _serverName = std::move(serverName); }

    // The IPv4 address as dotted-quad text, "" before it is known; none in a fresh record.
    const std::optional<std::string>& serverAddress() const { return _serverAddress; }
    void setServerAddress(std::optional<std::string> serverAddress) { _serverAddress = std::move(serverAddress); }

    const std::shared_ptr<NSNetService>& netService() const { return _netService; }
    void setNetService(std::shared_ptr<NSNetService> netService) { _netService = std::move(netService); }

    // The users of the server, kept alive while they are registered. One that registers twice stands in the list twice
    // and is taken out of it by one call.
    void registerClient(const std::shared_ptr<NSObject>& client) {
        _clientsArray.push_back(client);
        NSLog("A new client has registered: %@", client->description());
    }
    void unRegisterClient(const std::shared_ptr<NSObject>& client) {
        std::erase(_clientsArray, client);
        NSLog("A client has unregistered: %@", client->description());
    }
    // Whether anyone is registered: the number of clients cut to eight bits, so a multiple of 256 reads as nobody. That
    // is intended.
    bool isInUse() const { return static_cast<std::uint8_t>(_clientsArray.size()) != 0; }

  private:
    std::optional<std::string> _serverName;
    std::optional<std::string> _serverAddress;
    std::shared_ptr<NSNetService> _netService;
    bool _isPresent = true;
    bool _fromPreferences = false;
    Resolution resolution_ = Resolution::underWay;
    std::vector<std::shared_ptr<NSObject>> _clientsArray;
};

}  // namespace velmora
