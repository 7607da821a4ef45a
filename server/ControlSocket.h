// The socket on which other programs control the server while it runs.
#pragma once

#include <QSocketNotifier>
#include <memory>
#include <vector>

#include "server/ControlCommands.h"
#include "server/ControlEvents.h"
#include "server/ControlSession.h"
#include "server/SocketFile.h"

namespace velmora {

// All of it happens on the main thread, where the announcement lives, too: whatever the controlling programs do, the
// thread that serves the switch clients goes on.
class ControlSocket {
  public:
    static constexpr std::size_t kMaximumSessions = 16;

    ControlSocket(SocketFile file, const ControlCommands& commands);
    ControlSocket(const ControlSocket&) = delete;

    // Whatever is told here goes to each session that has subscribed. Any thread that ends before the socket does.
    ControlEvents& events() { return events_; }

  private:
    void accept();
    void sessionChanged();
    void removeEndedSessions();
    void sendEvents();

    const SocketFile file_;
    const ControlCommands commands_;
    // Work that is queued for the main loop asks whether this object is still there.
    const std::shared_ptr<ControlSocket*> self_;
    ControlEvents events_;
    std::vector<std::unique_ptr<ControlSession>> sessions_;
    QSocketNotifier acceptable_;
};

}  // namespace velmora
