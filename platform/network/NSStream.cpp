#include "platform/network/NSStream.h"

#include <limits>

#include "platform/network/NSHost.h"
#include "platform/network/TCPConnection.h"

namespace velmora {

NSStream::~NSStream() {
    connection_->setDelegate(half_, nullptr);
    connection_->close(half_);
}

void NSStream::setDelegate(NSStreamDelegate* delegate) {
    connection_->setDelegate(half_, delegate);
}

void NSStream::scheduleInRunLoopForMode(const std::shared_ptr<NSRunLoop>& runLoop, const char* mode) {
    connection_->schedule(runLoop, mode);
}

void NSStream::removeFromRunLoopForMode(const std::shared_ptr<NSRunLoop>& runLoop, const char* mode) {
    connection_->unschedule(runLoop, mode);
}

void NSStream::open() {
    connection_->open();
}

void NSStream::noteFailure() {
    connection_->noteFailure();
}

void NSStream::close() {
    connection_->close(half_);
}

std::string NSStream::failureReason() const {
    return connection_->failureReason();
}

std::int64_t NSInputStream::read(std::span<std::uint8_t> buffer) {
    return connection_->read(buffer);
}

bool NSOutputStream::hasSpaceAvailable() const {
    return connection_->hasSpaceAvailable();
}

std::int64_t NSOutputStream::write(std::span<const std::uint8_t> bytes) {
    return connection_->write(bytes);
}

NSStreamPair streamPairWithEndpointProvider(EndpointProvider provider, EndObserver observer) {
    const auto connection = std::make_shared<TCPConnection>(std::move(provider), std::move(observer));
    NSStreamPair pair{std::make_shared<NSInputStream>(connection), std::make_shared<NSOutputStream>(connection)};
    connection->setStreams(pair);
    return pair;
}

std::optional<NSStreamPair> getStreamsToHostPort(const std::shared_ptr<NSHost>& host, std::uint64_t port) {
    if (host == nullptr || host->addresses().empty() || port == 0 || port > std::numeric_limits<std::uint16_t>::max())
        return std::nullopt;
    std::vector<SocketAddress> addresses;
    for (const SocketAddress& address : host->addresses()) {
        addresses.push_back(address.withPort(static_cast<std::uint16_t>(port)));
    }
    return streamPairWithEndpointProvider([addresses = std::move(addresses)](auto answer) { answer(addresses); });
}

}  // namespace velmora
