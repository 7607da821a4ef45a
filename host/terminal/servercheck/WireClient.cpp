#include "host/terminal/servercheck/WireClient.h"

#include <poll.h>
#include <sys/socket.h>

#include <algorithm>
#include <cerrno>

#include "host/terminal/SwitchSocket.h"

namespace velmora {

std::size_t WireClient::read(std::string& bytes, WireEnd& end) {
    bytes.resize(kMaximumReply);
    const ssize_t count = recv(descriptor_.number(), bytes.data(), bytes.size(), MSG_DONTWAIT);
    const int error = errno;
    bytes.resize(static_cast<std::size_t>(std::max<ssize_t>(count, 0)));
    if (count == 0) end = WireEnd::closed;
    if (count < 0 && error != EAGAIN && error != EINTR) end = WireEnd::broken;
    return bytes.size();
}

Overheard WireClient::overhear(Seconds quiet) {
    Overheard heard;
    std::string bytes;
    const Date last = fromNow(limits_.listen * kMostListens);
    do {
        while (read(bytes, heard.end) > 0) {
            heard.size += bytes.size();
            heard.bytes += bytes.substr(0, kMaximumReply - heard.bytes.size());
            heard.isEndless = heard.size > kMaximumExtraBytes || Date::clock::now() > last;
            if (heard.isEndless) return heard;
            quiet = limits_.listen;
        }
    } while (heard.end == WireEnd::none && waitFor(descriptor_, POLLIN, fromNow(quiet)));
    return heard;
}

Exchange WireClient::ask(const std::string& command, const std::optional<std::string>& usualEnd, Date end) {
    Exchange exchange;
    exchange.before = overhear(Seconds(0));
    if (exchange.before.end != WireEnd::none || exchange.before.isEndless) return exchange;
    const std::string line = commandLine(command);
    const Date begin = Date::clock::now();
    if (send(descriptor_.number(), line.data(), line.size(), MSG_NOSIGNAL) != static_cast<ssize_t>(line.size())) {
        exchange.end = WireEnd::broken;
        return exchange;
    }
    std::string reply;
    const Date deadline = std::min(end, fromNow(limits_.reply));
    while (reply.empty() && exchange.end == WireEnd::none && waitFor(descriptor_, POLLIN, deadline)) {
        read(reply, exchange.end);
    }
    exchange.time = Date::clock::now() - begin;
    if (reply.empty()) return exchange;
    const bool isWhole = usualEnd && reply.ends_with(*usualEnd) && reply.size() < kMaximumReply;
    exchange.reply = std::move(reply);
    if (!isWhole) exchange.after = listen();
    return exchange;
}

}  // namespace velmora
