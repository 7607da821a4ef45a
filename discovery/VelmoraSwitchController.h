// The plugin's contact with the network: browses for switch servers, keeps their records, and owns the switcher that is
// selected.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "discovery/ServerInfo.h"
#include "platform/network/NSNetServiceBrowser.h"
#include "platform/threads/AtomicReference.h"
#include "platform/threads/Moment.h"
#include "switcher/TCPMatrixSwitcher.h"

namespace velmora {

class VelmoraSwitchControllerDelegate {
  public:
    virtual ~VelmoraSwitchControllerDelegate() = default;
    // A server was resolved, or one that is known was found again.
    virtual void newMatrixSwitcherWithNameDidBecomeAvailable(const std::string& name) = 0;
    // A server has gone. The name is that of the record at its place afterwards, which may be another's.
    virtual void matrixSwitcherWithNameDidDisappear(const std::string& name) = 0;
    virtual void matrixDimensionsChangedTo(MatrixSwitcher& switcher, NSSize size) = 0;
    // Something has changed that none of the above tells: what is known of a server, or the connection to the selected
    // one.
    virtual void connectionStatusChanged() {}
};

inline constexpr Seconds kResolveTimeout{10};

// Made with std::make_shared. Main thread only; selectedMatrixSwitcher may be read from any thread.
class VelmoraSwitchController final : public NSObject,
                                      public NSNetServiceBrowserDelegate,
                                      public NSNetServiceDelegate,
                                      private TCPMatrixSwitcherDelegate {
  public:
    // Begins to browse. The delegate is not owned; setDelegate(nullptr) when it goes first.
    explicit VelmoraSwitchController(VelmoraSwitchControllerDelegate* delegate, TelnetTimeLimits limits = {});
    // Ends the browse and closes the selected switcher's port; no callback follows.
    ~VelmoraSwitchController() override;

    VelmoraSwitchControllerDelegate* delegate() const { return delegate_; }
    void setDelegate(VelmoraSwitchControllerDelegate* delegate) { delegate_ = delegate; }

    // In the order of discovery. Not a copy.
    const std::vector<std::shared_ptr<ServerInfo>>& serversArray() const override { return _serversArray; }

    // The index of the first matching record; -1 when there is none.
    std::int32_t indexOfServerForNetService(const NSNetService& service) const;
    std::int32_t indexOfServerForIPAddress(const std::string& address) const;
    std::int32_t indexOfServerForName(const std::string& name) const override;
    bool serversArrayContainsNetService(const NSNetService& service) const {
        return indexOfServerForNetService(service) >= 0;
    }
    bool serversArrayContainsIPAddress(const std::string& address) const {
        return indexOfServerForIPAddress(address) >= 0;
    }
    bool serversArrayContainsName(const std::string& name) const { return indexOfServerForName(name) >= 0; }

    // Closes the switcher selected so far and makes one for the named server, known or not; none or "" stands for the
    // first server. Answers what the switcher's openPort does; false, with nothing selected, when no server is known.
    bool selectMatrixSwitcherWithName(const std::optional<std::string>& name);
    // The server of this name is listed however many others there are; the one that is selected is preferred, too.
    void preferServerWithName(const std::string& name) { _serviceBrowser->setPreferredName(name); }
    std::optional<std::string> selectedMatrixSwitcherName() const;
    std::shared_ptr<TCPMatrixSwitcher> selectedMatrixSwitcher() const { return selectedMatrixSwitcher_.load(); }
    void setSelectedMatrixSwitcher(std::shared_ptr<TCPMatrixSwitcher> switcher) {
        selectedMatrixSwitcher_.store(std::move(switcher));
    }

    // Called by the browser and the services.
    void netServiceBrowserDidFindServiceMoreComing(NSNetServiceBrowser& browser,
                                                   const std::shared_ptr<NSNetService>& service,
                                                   bool moreComing) override;
    void netServiceBrowserDidRemoveServiceMoreComing(NSNetServiceBrowser& browser,
                                                     const std::shared_ptr<NSNetService>& service,
                                                     bool moreComing) override;
    void netServiceDidResolveAddress(NSNetService& service) override;
    // The record stays listed without an address, nobody is told, and the service stays held. Intended: a server that
    // cannot be reached is no news for a host.
    void netServiceDidNotResolve(NSNetService& service) override;

  private:
    void matrixDimensionsChangedTo(MatrixSwitcher& switcher, NSSize size) override;
    void connectionStatusChanged(TCPMatrixSwitcher&) override { tellOfConnectionStatus(); }

    void closeSelectedSwitcher();
    // Null when there is none.
    std::shared_ptr<ServerInfo> serverForNetService(const NSNetService& service) const;
    void tellOfConnectionStatus();

    VelmoraSwitchControllerDelegate* delegate_;
    const TelnetTimeLimits limits_;
    AtomicReference<TCPMatrixSwitcher> selectedMatrixSwitcher_;
    std::shared_ptr<NSNetServiceBrowser> _serviceBrowser;
    std::vector<std::shared_ptr<ServerInfo>> _serversArray;
    // Held from the first find to the resolution; for good when that fails.
    std::vector<std::shared_ptr<NSNetService>> _servicesBeingResolved;
};

}  // namespace velmora
