#include "platform/network/NSNetService.h"

#include <algorithm>
#include <utility>

#include "platform/network/dnssd/DiscoveryThread.h"
#include "platform/threads/MainThread.h"
#include "platform/threads/NSLock.h"

namespace velmora {

namespace {

// For how long `stop` waits until a service is withdrawn.
constexpr Seconds kWithdrawalTimeout{1};
constexpr Seconds kLongestTimeout = std::chrono::hours(24);

// Calls its receiver exactly once: with the answer, or with an empty one when it is released without.
template <typename Answer>
class OneAnswer {
  public:
    explicit OneAnswer(std::function<void(Answer)> receiver) : receiver_(std::move(receiver)) {}
    OneAnswer(const OneAnswer&) = delete;
    OneAnswer& operator=(const OneAnswer&) = delete;
    ~OneAnswer() { give({}); }

    void give(Answer answer) {
        if (const auto receiver = std::exchange(receiver_, nullptr)) receiver(std::move(answer));
    }

  private:
    std::function<void(Answer)> receiver_;
};

using Addresses = std::vector<SocketAddress>;

}  // namespace

NSNetService::NSNetService(std::string domain, std::string type, std::string name)
    : NSNetService(std::move(domain), std::move(type), std::move(name), 0) {}

NSNetService::NSNetService(std::string domain, std::string type, std::string name, std::uint16_t port)
    : domain_(normalisedDomain(std::move(domain))),
      type_(withTrailingDot(std::move(type))),
      portToPublish_(port),
      name_(std::move(name)) {}

NSNetService::~NSNetService() {
    stop();
}

std::string NSNetService::name() const {
    MutexLock lock(mutex_);
    return name_;
}

bool NSNetService::isEqual(const NSNetService& other) const {
    return type_ == other.type_ && domain_ == other.domain_ && name() == other.name();
}

ServiceKey NSNetService::key() const {
    return {type_, domain_, name()};
}

const std::shared_ptr<NSNetService::Session>& NSNetService::session() {
    if (session_ == nullptr) session_ = std::make_shared<Session>(Session{this, DiscoveryThread::nextOwner(), false});
    return session_;
}

void NSNetService::resolveWithTimeout(double timeout) {
    using Outcome = std::shared_ptr<const ServiceEndpoint>;
    const auto answer = std::make_shared<OneAnswer<Outcome>>([session = session()](const Outcome& outcome) {
        MainThread::performLater([session, outcome] {
            if (session->service != nullptr) session->service->resolved(outcome.get());
        });
    });
    ++resolutions_;
    ResolutionRequest request;
    request.owner = session()->owner;
    request.deadline = fromNow(std::clamp(Seconds(timeout), Seconds(0), kLongestTimeout));
    request.done = [answer](const ServiceEndpoint* endpoint) {
        answer->give(endpoint == nullptr ? nullptr : std::make_shared<const ServiceEndpoint>(*endpoint));
    };
    DiscoveryThread::perform(
        [key = key(), request = std::move(request)](DiscoveryEngine& engine) { engine.resolve(key, request); });
}

void NSNetService::resolved(const ServiceEndpoint* endpoint) {
    // The delegate may release the service.
    const auto hold = weak_from_this().lock();
    --resolutions_;
    // Where it led is useless by now; it may be one of thousands that a flood has left.
    if (endpoint != nullptr && endpoint->withdrawn != nullptr && *endpoint->withdrawn) endpoint = nullptr;
    if (endpoint != nullptr) {
        addresses_ = endpoint->addresses;
        hostName_ = endpoint->hostName;
        port_ = endpoint->port;
    }
    if (delegate_ == nullptr) return;
    if (endpoint != nullptr) {
        delegate_->netServiceDidResolveAddress(*this);
    } else {
        delegate_->netServiceDidNotResolve(*this);
    }
}

std::optional<NSStreamPair> NSNetService::getInputStreamOutputStream() {
    const ServiceKey service = key();
    if (service.name.empty()) return std::nullopt;
    const auto fate = std::make_shared<std::atomic<ConnectionFate>>(ConnectionFate::open);
    const auto findAddresses = [service, fate](std::function<void(Addresses)> receiver) {
        const auto answer = std::make_shared<OneAnswer<Addresses>>(std::move(receiver));
        DiscoveryThread::perform([service, fate, answer](DiscoveryEngine& engine) {
            engine.findAddresses(service, fate, [answer](Addresses addresses) { answer->give(std::move(addresses)); });
        });
    };
    return streamPairWithEndpointProvider(findAddresses, [service, fate](bool endedByItself) {
        *fate = endedByItself ? ConnectionFate::ended : ConnectionFate::closed;
        DiscoveryThread::performIfRunning([service](DiscoveryEngine& engine) { engine.connectionIsOver(service); });
    });
}

void NSNetService::publish() {
    session()->published = true;
    const auto report = [session = session()](const std::string& publishedName, const Result<void>& outcome) {
        MainThread::performLater([session, publishedName, outcome] {
            if (session->service != nullptr) session->service->published(publishedName, outcome);
        });
    };
    const bool isPossible =
        DiscoveryThread::perform([owner = session()->owner, key = key(), port = portToPublish_,
                                  report](DiscoveryEngine& engine) { engine.publish(owner, key, port, report); });
    if (!isPossible) report(name(), Failure{DiscoveryThread::kShortage});
}

void NSNetService::published(const std::string& publishedName, const Result<void>& outcome) {
    const auto hold = weak_from_this().lock();
    {
        MutexLock lock(mutex_);
        name_ = publishedName;
    }
    if (delegate_ == nullptr) return;
    if (outcome) {
        delegate_->netServiceDidPublish(*this);
    } else {
        delegate_->netServiceDidNotPublish(*this, outcome.failure().reason);
    }
}

void NSNetService::stop() {
    const auto session = std::exchange(session_, nullptr);
    if (session == nullptr) return;
    session->service = nullptr;
    resolutions_ = 0;
    DiscoveryThread::performIfRunning([owner = session->owner](DiscoveryEngine& engine) { engine.endRequests(owner); });
    if (!session->published) return;
    const auto withdrawn = std::make_shared<NSLock>();
    withdrawn->lock();
    // Given back with the last copy of the callback, whether or not it is called.
    std::shared_ptr<void> pending(nullptr, [withdrawn](void*) { withdrawn->unlock(); });
    DiscoveryThread::performIfRunning([owner = session->owner, pending = std::move(pending)](DiscoveryEngine& engine) {
        engine.withdraw(owner, [pending] {});
    });
    withdrawn->lockBeforeDate(fromNow(kWithdrawalTimeout));
}

}  // namespace velmora
