#include "host/terminal/servercheck/ServerSearch.h"

#include <QCoreApplication>
#include <algorithm>
#include <charconv>
#include <future>
#include <thread>
#include <utility>

#include "host/Quotes.h"
#include "host/Waiting.h"
#include "host/terminal/Preparation.h"
#include "host/terminal/SwitchSocket.h"
#include "platform/network/NSHost.h"

namespace velmora {

namespace {

// Names of other servers that are remembered, to be told when the wanted one is not there.
constexpr std::size_t kMostOthers = 100;
constexpr Seconds kResolveTime{10};

bool isOfHostName(char c) {
    return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '.' || c == '-' ||
           c == '_';
}

bool isAddress(std::string_view text) {
    return SocketAddress::fromText(text, 1).has_value();
}

bool isIPv6(std::string_view text) {
    return text.find(':') != std::string_view::npos && isAddress(text);
}

bool isInBrackets(std::string_view text) {
    return text.size() > 2 && text.starts_with('[') && text.ends_with(']');
}

std::string_view withoutBrackets(std::string_view text) {
    return isInBrackets(text) ? text.substr(1, text.size() - 2) : text;
}

// Without brackets. Servers have names such as "Rack:1", so a single word is no host.
bool isHost(std::string_view text) {
    return text == "localhost" || (text.find('.') != std::string_view::npos && std::ranges::all_of(text, isOfHostName));
}

}  // namespace

Result<std::optional<HostAndPort>> hostAndPortInText(std::string_view text) {
    const auto colon = text.rfind(':');
    const std::string_view host = text.substr(0, colon);
    if (isIPv6(withoutBrackets(text)) || isIPv6(host))
        return Failure{inQuotes(text) + ": an IPv6 address goes in brackets, with a port after it: [::1]:4000"};
    if (colon == std::string_view::npos || !(isInBrackets(host) || isHost(host))) return std::optional<HostAndPort>();
    const std::string_view digits = text.substr(colon + 1);
    std::uint16_t port = 0;
    const auto parsed = std::from_chars(digits.data(), digits.data() + digits.size(), port);
    if (parsed.ec != std::errc() || parsed.ptr != digits.data() + digits.size() || port == 0)
        return Failure{inQuotes(text) + ": a port is a number from 1 to 65535"};
    return std::optional(HostAndPort{std::string(withoutBrackets(host)), port});
}

Result<std::vector<SocketAddress>> addressesOf(const HostAndPort& place, Date end) {
    // The resolver cannot be interrupted. Its thread is left alone when the time is over.
    std::packaged_task<std::shared_ptr<NSHost>()> task([host = place.host] { return NSHost::hostWithName(host); });
    auto found = task.get_future();
    std::thread(std::move(task)).detach();
    if (found.wait_until(end) != std::future_status::ready)
        return Failure{"the address of " + inQuotes(place.host) + " did not come within the time (--wait)"};
    const auto host = found.get();
    if (host == nullptr) return Failure{"there is no host " + inQuotes(place.host)};
    std::vector<SocketAddress> addresses;
    for (const SocketAddress& address : host->addresses()) {
        addresses.push_back(address.withPort(place.port));
    }
    return addresses;
}

ServerSearch::ServerSearch(std::string name) : name_(std::move(name)) {
    browser_.setPreferredName(name_);
    browser_.setDelegate(this);
    browser_.searchForServicesOfTypeInDomain(kSwitchServiceType, "");
}

ServerSearch::~ServerSearch() {
    browser_.setDelegate(nullptr);
    if (service_ != nullptr) service_->setDelegate(nullptr);
}

void ServerSearch::netServiceBrowserDidFindServiceMoreComing(NSNetServiceBrowser&, const Service& service, bool) {
    if (service->name() != name_) {
        if (others_.size() < kMostOthers && std::ranges::find(others_, service->name()) == others_.end())
            others_.push_back(service->name());
        return;
    }
    ++timesFound_;
    if (service_ != nullptr) return;
    service_ = service;
    service_->setDelegate(this);
    service_->resolveWithTimeout(kResolveTime.count());
}

Result<std::vector<SocketAddress>> ServerSearch::addresses(std::chrono::milliseconds wait) {
    if (waitUntil([this] { return isResolved_; }, wait)) {
        timesFound_ = 1;
        return service_->addresses();
    }
    const std::string server = "the switch server " + inQuotes(name_);
    if (service_ != nullptr) return Failure{server + " was found, but no address of it within " + secondsText(wait)};
    return Failure{server + " was not found within " + secondsText(wait) +
                   (others_.empty() ? "; nor was any other" : "; found were: " + firstInQuotes(others_)) +
                   "; check that it runs and is announced on a network interface that is searched (--interface), or "
                   "wait longer (--wait)"};
}

bool ServerSearch::wasAnnouncedAnew() {
    QCoreApplication::processEvents();
    return timesFound_ > 1;
}

}  // namespace velmora
