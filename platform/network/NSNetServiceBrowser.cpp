#include "platform/network/NSNetServiceBrowser.h"

#include <QTimer>
#include <chrono>
#include <map>
#include <optional>
#include <set>
#include <utility>

#include "platform/network/dnssd/DiscoveryThread.h"
#include "platform/threads/MainThread.h"
#include "platform/threads/ThreadAnnotations.h"

namespace velmora {

namespace {

// When told of a service the delegate resolves it, and what follows may keep the main thread busy for a long time. So
// only this many at a time are told and not resolved yet. The rest of a flood waits here, where a service that goes
// again costs nothing. One that takes longer than this to be resolved holds nobody up any more.
constexpr std::size_t kMaximumUnresolved = 256;
constexpr Seconds kPatience{2};
constexpr std::chrono::milliseconds kNextTry(10);

}  // namespace

// Takes the news of one search from the discovery thread to the main thread, one piece each turn of the main loop.
//
// However long the main thread is busy, one piece waits for each service: the latest. The piece that it replaces has
// become pointless. A find that was withdrawn has led nobody anywhere, and a removal before a find only made room for
// it. The find itself is told even when the service leads where it did before: a server that has said goodbye and come
// back has dropped its connections, and being found again is what makes the plugin connect anew. One that comes back
// within a second is found again without being removed; where an Avahi daemon serves, nobody hears of that.
class NSNetServiceBrowser::Search final : public BrowseListener, public std::enable_shared_from_this<Search> {
  public:
    Search(NSNetServiceBrowser& browser, std::string preferredName)
        : browser_(&browser), preferredName_(std::move(preferredName)) {}

    void serviceFound(const ServiceKey& key) override { note(key, true); }
    void serviceRemoved(const ServiceKey& key) override { note(key, false); }
    bool prefers(const ServiceKey& key) const override {
        MutexLock lock(mutex_);
        return isPreferred(key);
    }

    // Main thread. Where that is not possible now, it happens as soon as it is.
    void begin(const std::string& type, const std::string& domain) {
        if (browser_ == nullptr) return;
        const auto self = shared_from_this();
        const auto browse = [=](DiscoveryEngine& engine) { engine.browse(type, domain, self); };
        if (DiscoveryThread::perform(browse)) return;
        QTimer::singleShot(DiscoveryThread::kStartPause, [=] { self->begin(type, domain); });
    }

    // Main thread.
    void setPreferredName(const std::string& name) {
        {
            MutexLock lock(mutex_);
            preferredName_ = name;
            for (auto& [key, waiting] : waiting_) {
                if (!isPreferred(key)) continue;
                auto place = order_.extract(waiting.turn);
                waiting.turn.first = false;
                place.key() = waiting.turn;
                order_.insert(std::move(place));
            }
        }
        DiscoveryThread::performIfRunning([](DiscoveryEngine& engine) { engine.preferenceChanged(); });
    }

    // Main thread. Nothing is delivered from then on.
    void end() {
        browser_ = nullptr;
        services_.clear();
        DiscoveryThread::performIfRunning(
            [self = shared_from_this()](DiscoveryEngine& engine) { engine.endBrowse(self); });
    }

  private:
    using Turn = std::pair<bool, std::uint64_t>;  // false for those that come first, a number
    struct Waiting {
        Turn turn;
        bool found;  // otherwise removed
    };
    struct News {
        ServiceKey key;
        bool found;
        bool moreComing;
    };
    struct Unresolved {
        std::weak_ptr<NSNetService> service;
        Date patienceEnd;
    };

    bool isPreferred(const ServiceKey& key) const REQUIRES(mutex_) {
        return !preferredName_.empty() && key.name == preferredName_;
    }

    void note(const ServiceKey& key, bool found) {
        MutexLock lock(mutex_);
        const auto known = waiting_.find(key);
        if (!found && !told_.contains(key)) {
            if (known == waiting_.end()) return;
            order_.erase(known->second.turn);
            waiting_.erase(known);
        } else if (known != waiting_.end()) {
            known->second.found = found;
        } else {
            const Turn turn{!isPreferred(key), ++turns_};
            waiting_.emplace(key, Waiting{turn, found});
            order_.emplace(turn, key);
            if (!std::exchange(deliveryQueued_, true)) queueDelivery();
        }
    }

    void queueDelivery() {
        MainThread::performLater([self = shared_from_this()] { self->deliver(); });
    }

    // The first piece of news that may be told now, and sees to the next delivery.
    std::optional<News> takeNews(bool newOnesToo) {
        MutexLock lock(mutex_);
        deliveryQueued_ = !order_.empty();
        auto next = order_.begin();
        while (next != order_.end() && !newOnesToo && !isPreferred(next->second) && !told_.contains(next->second))
            ++next;
        if (next == order_.end()) {
            if (deliveryQueued_) QTimer::singleShot(kNextTry, [self = shared_from_this()] { self->deliver(); });
            return std::nullopt;
        }
        const ServiceKey key = order_.extract(next).mapped();
        const bool found = waiting_.extract(key).mapped().found;
        if (found) {
            told_.insert(key);
        } else {
            told_.erase(key);
        }
        deliveryQueued_ = !order_.empty();
        if (deliveryQueued_) queueDelivery();
        return News{key, found, deliveryQueued_};
    }

    bool maySeeNewOnes() {
        const Date now = std::chrono::steady_clock::now();
        std::erase_if(unresolved_, [now](const Unresolved& entry) {
            const auto service = entry.service.lock();
            return service == nullptr || !service->isBeingResolved() || entry.patienceEnd <= now;
        });
        return unresolved_.size() < kMaximumUnresolved;
    }

    void deliver() {
        if (browser_ == nullptr) return;
        const auto news = takeNews(maySeeNewOnes());
        if (!news) return;
        auto& known = services_[news->key];
        if (known == nullptr) known = std::make_shared<NSNetService>(news->key.domain, news->key.type, news->key.name);
        const std::shared_ptr<NSNetService> service = known;
        if (!news->found) services_.erase(news->key);
        // The delegate may release the browser.
        const auto browser = browser_->weak_from_this().lock();
        NSNetServiceBrowserDelegate* delegate = browser_->delegate_;
        if (delegate == nullptr) return;
        if (news->found) {
            delegate->netServiceBrowserDidFindServiceMoreComing(*browser_, service, news->moreComing);
            if (service->isBeingResolved()) unresolved_.push_back({service, fromNow(kPatience)});
        } else {
            delegate->netServiceBrowserDidRemoveServiceMoreComing(*browser_, service, news->moreComing);
        }
    }

    // Main thread.
    NSNetServiceBrowser* browser_;
    std::map<ServiceKey, std::shared_ptr<NSNetService>> services_;
    std::vector<Unresolved> unresolved_;

    mutable Mutex mutex_;
    std::string preferredName_ GUARDED_BY(mutex_);
    std::map<ServiceKey, Waiting> waiting_ GUARDED_BY(mutex_);
    std::map<Turn, ServiceKey> order_ GUARDED_BY(mutex_);
    std::uint64_t turns_ GUARDED_BY(mutex_) = 0;
    std::set<ServiceKey> told_ GUARDED_BY(mutex_);  // found, and not removed since
    bool deliveryQueued_ GUARDED_BY(mutex_) = false;
};

NSNetServiceBrowser::NSNetServiceBrowser() = default;

NSNetServiceBrowser::~NSNetServiceBrowser() {
    stop();
}

void NSNetServiceBrowser::searchForServicesOfTypeInDomain(const std::string& type, const std::string& domain) {
    stop();
    search_ = std::make_shared<Search>(*this, preferredName_);
    search_->begin(withTrailingDot(type), normalisedDomain(domain));
}

void NSNetServiceBrowser::stop() {
    if (search_ == nullptr) return;
    search_->end();
    search_ = nullptr;
}

void NSNetServiceBrowser::setPreferredName(std::string name) {
    if (name == preferredName_) return;
    preferredName_ = std::move(name);
    if (search_ != nullptr) search_->setPreferredName(preferredName_);
}

void limitNetServicesToInterfaces(std::vector<std::string> interfaceNames) {
    DiscoveryThread::limitToInterfaces(std::move(interfaceNames));
}

}  // namespace velmora
