#include "discovery/VelmoraSwitchController.h"

#include <arpa/inet.h>

#include <algorithm>
#include <cstring>

#include "platform/foundation/NSLog.h"

namespace velmora {

namespace {

constexpr const char* kServiceType = "_matrixswitcher._tcp.";

template <typename Predicate>
std::int32_t indexOfFirst(const std::vector<std::shared_ptr<ServerInfo>>& servers, Predicate matches) {
    const auto found =
        std::find_if(servers.begin(), servers.end(), [&](const auto& server) { return matches(*server); });
    return found == servers.end() ? -1 : static_cast<std::int32_t>(found - servers.begin());
}

// The four bytes where an IPv4 socket address has its address. The family is not looked at. Intended: an IPv6 one has
// its flow information there, in practice "0.0.0.0", which is skipped like an address that is not known.
std::string addressText(const SocketAddress& address) {
    in_addr v4{};
    constexpr std::size_t kOffset = 4;
    if (address.bytes().size() < kOffset + sizeof v4) return "0.0.0.0";
    std::memcpy(&v4, address.bytes().data() + kOffset, sizeof v4);
    char text[INET_ADDRSTRLEN] = "";
    inet_ntop(AF_INET, &v4, text, sizeof text);
    return stringWithFormat("%s", text);
}

}  // namespace

VelmoraSwitchController::VelmoraSwitchController(VelmoraSwitchControllerDelegate* delegate, TelnetTimeLimits limits)
    : delegate_(delegate), limits_(limits), _serviceBrowser(std::make_shared<NSNetServiceBrowser>()) {
    _serviceBrowser->setDelegate(this);
    _serviceBrowser->searchForServicesOfTypeInDomain(kServiceType, "");
}

VelmoraSwitchController::~VelmoraSwitchController() {
    delegate_ = nullptr;
    _serviceBrowser->setDelegate(nullptr);
    _serviceBrowser = nullptr;
    for (const auto& service : _servicesBeingResolved) {
        service->setDelegate(nullptr);
    }
    for (const auto& server : _serversArray) {
        server->netService()->setDelegate(nullptr);
    }
    _serversArray.clear();
    closeSelectedSwitcher();
}

std::int32_t VelmoraSwitchController::indexOfServerForNetService(const NSNetService& service) const {
    return indexOfFirst(_serversArray, [&](const ServerInfo& server) { return server.netService()->isEqual(service); });
}

std::shared_ptr<ServerInfo> VelmoraSwitchController::serverForNetService(const NSNetService& service) const {
    const std::int32_t index = indexOfServerForNetService(service);
    return index >= 0 ? _serversArray[static_cast<std::size_t>(index)] : nullptr;
}

std::int32_t VelmoraSwitchController::indexOfServerForIPAddress(const std::string& address) const {
    return indexOfFirst(_serversArray, [&](const ServerInfo& server) { return server.serverAddress() == address; });
}

std::int32_t VelmoraSwitchController::indexOfServerForName(const std::string& name) const {
    return indexOfFirst(_serversArray, [&](const ServerInfo& server) { return server.serverName() == name; });
}

void VelmoraSwitchController::netServiceBrowserDidFindServiceMoreComing(NSNetServiceBrowser&,
                                                                        const std::shared_ptr<NSNetService>& service,
                                                                        bool) {
    const auto keepAlive = shared_from_this();  // the delegate may let go of the controller
    if (const auto known = serverForNetService(*service)) {
        known->setIsPresent(true);
        if (delegate_ != nullptr) delegate_->newMatrixSwitcherWithNameDidBecomeAvailable(service->name());
        return;
    }
    const auto server = std::make_shared<ServerInfo>();
    _servicesBeingResolved.push_back(service);
    service->setDelegate(this);
    service->resolveWithTimeout(kResolveTimeout.count());
    server->setNetService(service);
    server->setServerName(service->name());
    server->setServerAddress("");
    server->setFromPreferences(false);
    _serversArray.push_back(server);
    tellOfConnectionStatus();
}

void VelmoraSwitchController::netServiceDidResolveAddress(NSNetService& service) {
    const auto keepAlive = shared_from_this();
    const auto keepService = service.shared_from_this();
    const auto server = serverForNetService(service);
    if (server != nullptr) server->setResolution(ServerInfo::Resolution::done);
    for (const SocketAddress& address : service.addresses()) {
        const std::string text = addressText(address);
        if (text == "0.0.0.0") continue;
        // A service whose record was dropped meanwhile has no place for its address: nobody is told, and the service is
        // held for good. Without an IPv4 address there is nothing to store, and the same service is told. Both are
        // intended: hosts are used to the notices that they get.
        if (server == nullptr) return;
        server->setServerAddress(text);  // of several the last one stands
    }
    if (delegate_ != nullptr) delegate_->newMatrixSwitcherWithNameDidBecomeAvailable(service.name());
    const auto held = std::find(_servicesBeingResolved.begin(), _servicesBeingResolved.end(), keepService);
    if (held != _servicesBeingResolved.end()) _servicesBeingResolved.erase(held);
}

void VelmoraSwitchController::netServiceDidNotResolve(NSNetService& service) {
    const auto server = serverForNetService(service);
    if (server != nullptr) server->setResolution(ServerInfo::Resolution::failed);
    tellOfConnectionStatus();
}

void VelmoraSwitchController::netServiceBrowserDidRemoveServiceMoreComing(NSNetServiceBrowser&,
                                                                          const std::shared_ptr<NSNetService>& service,
                                                                          bool) {
    const auto keepAlive = shared_from_this();
    const std::int32_t index = indexOfServerForNetService(*service);
    if (index < 0) return;
    const auto place = static_cast<std::size_t>(index);
    if (_serversArray[place]->isInUse()) {
        _serversArray[place]->setIsPresent(false);
    } else {
        _serversArray.erase(_serversArray.begin() + index);
    }
    // The name is that of the record that stands here now, the next one's when this one was dropped; without one nobody
    // is told. Intended.
    if (place >= _serversArray.size()) {
        tellOfConnectionStatus();
        return;
    }
    if (delegate_ != nullptr) {
        delegate_->matrixSwitcherWithNameDidDisappear(_serversArray[place]->serverName().value_or(""));
    }
}

void VelmoraSwitchController::matrixDimensionsChangedTo(MatrixSwitcher& switcher, NSSize size) {
    const auto keepAlive = shared_from_this();
    if (delegate_ != nullptr) delegate_->matrixDimensionsChangedTo(switcher, size);
}

void VelmoraSwitchController::tellOfConnectionStatus() {
    const auto keepAlive = shared_from_this();
    if (delegate_ != nullptr) delegate_->connectionStatusChanged();
}

bool VelmoraSwitchController::selectMatrixSwitcherWithName(const std::optional<std::string>& name) {
    NSLog("Selecting matrix switcher with name: %@", name);
    closeSelectedSwitcher();
    std::string wanted = name.value_or("");
    if (wanted.empty()) {
        if (_serversArray.empty()) return false;
        wanted = _serversArray.front()->serverName().value_or("");
    }
    preferServerWithName(wanted);
    const auto switcher = std::make_shared<TCPMatrixSwitcher>(limits_);
    setSelectedMatrixSwitcher(switcher);
    switcher->setDelegate(this);
    return switcher->openPort(wanted);
}

void VelmoraSwitchController::closeSelectedSwitcher() {
    const auto switcher = selectedMatrixSwitcher();
    if (switcher == nullptr) return;
    switcher->closePort();
    switcher->setDelegate(nullptr);  // its server's record may keep it longer than the controller lives
    setSelectedMatrixSwitcher(nullptr);
}

std::optional<std::string> VelmoraSwitchController::selectedMatrixSwitcherName() const {
    const auto switcher = selectedMatrixSwitcher();
    return switcher != nullptr ? switcher->name() : std::nullopt;
}

}  // namespace velmora
