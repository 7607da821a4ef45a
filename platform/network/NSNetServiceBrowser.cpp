#include "platform/network/NSNetServiceBrowser.h"

#include <deque>
#include <map>
#include <optional>
#include <set>
#include <utility>

#include "platform/network/discovery/DiscoveryThread.h"
#include "platform/threads/MainThread.h"
#include "platform/threads/ThreadAnnotations.h"

namespace velmora {

// Takes the news of one search from the discovery thread to the main thread, one piece each turn of the main loop.
// However long the main thread is busy, no more than one removal and one find wait for each service.
class NSNetServiceBrowser::Search final : public BrowseListener, public std::enable_shared_from_this<Search> {
  public:
    explicit Search(NSNetServiceBrowser& browser) : browser_(&browser) {}

    void serviceFound(const ServiceKey& key) override {
        MutexLock lock(mutex_);
        if (!waiting_.contains(key)) order_.push_back(key);
        waiting_[key].found = true;
        queueDelivery();
    }

    void serviceRemoved(const ServiceKey& key) override {
        MutexLock lock(mutex_);
        if (told_.contains(key)) {
            if (!waiting_.contains(key)) order_.push_back(key);
            waiting_[key] = {true, false};
            queueDelivery();
        } else if (waiting_.erase(key) != 0) {
            // Came and went unseen.
            std::erase(order_, key);
        }
    }

    // Main thread. Nothing is delivered from then on.
    void end() {
        browser_ = nullptr;
        services_.clear();
        DiscoveryThread::performIfRunning(
            [self = shared_from_this()](DiscoveryEngine& engine) { engine.endBrowse(self); });
    }

  private:
    struct Waiting {
        bool removed = false;  // comes before the find
        bool found = false;
    };
    struct News {
        ServiceKey key;
        bool found;
        bool moreComing;
    };

    void queueDelivery() REQUIRES(mutex_) {
        if (std::exchange(deliveryQueued_, true)) return;
        MainThread::performLater([self = shared_from_this()] { self->deliver(); });
    }

    std::optional<News> takeNews() {
        MutexLock lock(mutex_);
        deliveryQueued_ = false;
        if (order_.empty()) return std::nullopt;
        const ServiceKey key = order_.front();
        Waiting& waiting = waiting_[key];
        const bool found = !std::exchange(waiting.removed, false);
        if (found) {
            told_.insert(key);
        } else {
            told_.erase(key);
        }
        if (found || !waiting.found) {
            waiting_.erase(key);
            order_.pop_front();
        }
        const bool moreComing = !order_.empty();
        if (moreComing) queueDelivery();
        return News{key, found, moreComing};
    }

    void deliver() {
        if (browser_ == nullptr) return;
        const auto news = takeNews();
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
        } else {
            delegate->netServiceBrowserDidRemoveServiceMoreComing(*browser_, service, news->moreComing);
        }
    }

    // Main thread.
    NSNetServiceBrowser* browser_;
    std::map<ServiceKey, std::shared_ptr<NSNetService>> services_;

    Mutex mutex_;
    std::map<ServiceKey, Waiting> waiting_ GUARDED_BY(mutex_);
    std::deque<ServiceKey> order_ GUARDED_BY(mutex_);
    std::set<ServiceKey> told_ GUARDED_BY(mutex_);  // found, and not removed since
    bool deliveryQueued_ GUARDED_BY(mutex_) = false;
};

NSNetServiceBrowser::NSNetServiceBrowser() = default;

NSNetServiceBrowser::~NSNetServiceBrowser() {
    stop();
}

void NSNetServiceBrowser::searchForServicesOfTypeInDomain(const std::string& type, const std::string& domain) {
    stop();
    search_ = std::make_shared<Search>(*this);
    DiscoveryThread::perform([search = search_, type = withTrailingDot(type), where = normalisedDomain(domain)](
                                 DiscoveryEngine& engine) { engine.browse(type, where, search); });
}

void NSNetServiceBrowser::stop() {
    if (search_ == nullptr) return;
    search_->end();
    search_ = nullptr;
}

void limitNetServicesToInterfaces(std::vector<std::string> interfaceNames) {
    DiscoveryThread::limitToInterfaces(std::move(interfaceNames));
}

}  // namespace velmora
