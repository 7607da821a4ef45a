#include "server/ControlSocket.h"

#include <sys/socket.h>

#include <QTimer>
#include <algorithm>
#include <cerrno>
#include <chrono>
#include <utility>

#include "platform/foundation/Text.h"
#include "platform/threads/MainThread.h"

namespace velmora {

namespace {

// The pause before the next try when no descriptor was left for a new session.
constexpr std::chrono::milliseconds kAcceptPause{50};

// For the main loop, and nothing if the object has gone by then.
template <typename Object>
MainThread::Work laterCall(const std::shared_ptr<Object*>& object, void (Object::*call)()) {
    return [weak = std::weak_ptr(object), call] {
        if (const auto there = weak.lock()) ((*there)->*call)();
    };
}

}  // namespace

ControlSocket::ControlSocket(SocketFile file, const ControlCommands& commands)
    : file_(std::move(file)),
      commands_(commands),
      self_(std::make_shared<ControlSocket*>(this)),
      events_([work = laterCall(self_, &ControlSocket::sendEvents)] { MainThread::performLater(work); }),
      acceptable_(file_.descriptor(), QSocketNotifier::Read) {
    QObject::connect(&acceptable_, &QSocketNotifier::activated, &acceptable_, [this] { accept(); });
}

void ControlSocket::accept() {
    Descriptor connection(accept4(file_.descriptor(), nullptr, nullptr, SOCK_NONBLOCK | SOCK_CLOEXEC));
    if (!connection) {
        if (errno == EAGAIN || errno == EINTR || errno == ECONNABORTED) return;
        acceptable_.setEnabled(false);
        QTimer::singleShot(kAcceptPause, &acceptable_, [this] { acceptable_.setEnabled(true); });
        return;
    }
    removeEndedSessions();
    if (sessions_.size() == kMaximumSessions) {
        const QByteArray refusal = ControlCommands::refusal(
            stringWithFormat("%li programs control the server already, which is the most", kMaximumSessions));
        // It fits into an empty buffer, or whoever asked has gone.
        static_cast<void>(
            ::send(connection.number(), refusal.constData(), static_cast<std::size_t>(refusal.size()), MSG_NOSIGNAL));
        return;
    }
    sessions_.push_back(
        std::make_unique<ControlSession>(std::move(connection), commands_, [this] { sessionChanged(); }));
}

void ControlSocket::sessionChanged() {
    events_.setWanted(std::ranges::any_of(sessions_, [](const auto& session) { return session->isSubscribed(); }));
    MainThread::performLater(laterCall(self_, &ControlSocket::removeEndedSessions));
}

void ControlSocket::removeEndedSessions() {
    std::erase_if(sessions_, [](const auto& session) { return session->hasEnded(); });
}

void ControlSocket::sendEvents() {
    const ControlEvents::Taken taken = events_.take();
    for (const auto& session : sessions_) {
        if (!session->isSubscribed()) continue;
        for (const QByteArray& line : taken.lines) {
            session->sendEvent(line);
        }
        session->leaveOutEvents(taken.leftOut);
        session->advance();  // not only sent: requests may be waiting until there is room
    }
}

}  // namespace velmora
