// The words of the control socket: one JSON object in, one JSON object out.
#pragma once

#include <QByteArray>
#include <QJsonObject>
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/foundation/Result.h"
#include "server/DumpText.h"
#include "server/FaultPlan.h"
#include "server/VirtualMatrix.h"

namespace velmora {

// What else there is to control than matrix and faults. Main thread.
class ControlledServer {
  public:
    virtual ~ControlledServer() = default;
    virtual std::size_t dropClients(bool withReset) = 0;
    virtual std::vector<std::string> clientNames() const = 0;
    // Whether it can be announced at all.
    virtual bool canAnnounce() const = 0;
    virtual bool isAnnouncing() const = 0;
    // The name that it has on the network at this moment; empty for none.
    virtual std::string announcedName() const = 0;
    // Withdraws it at once, or begins to announce it. Nothing where that is so already.
    virtual void setAnnouncing(bool announcing) = 0;
};

// The keys of a request; one that holds several does all of them, one that holds something wrong does nothing.
//
//     routes       {"OUTPUT": INPUT, ...}      or, as in a state file, a list that begins with output 1
//     inputs       {"INPUT": "LABEL", ...}     or a list
//     outputs      {"OUTPUT": "LABEL", ...}    or a list
//     faults       ["VERB...", ...]            these and no others from now on, as --fault takes them
//     announced    true or false               on the network
//     drop         "close" or "reset"          the connections of all clients
//     dump         true
//     subscribe    true or false               to events
//     id           a text or number            comes back with the reply
//
// A reply holds "ok": true, or "error" and why. Holds no state; main thread.
class ControlCommands {
  public:
    struct Reply {
        QByteArray line;                     // with its end; empty where there is a dump
        std::optional<DumpText> dump = {};   // the line
        std::optional<bool> subscribe = {};  // whether whoever asked wants events from now on
    };

    // None is owned.
    ControlCommands(VirtualMatrix& matrix, FaultPlan& faults, ControlledServer& server)
        : matrix_(matrix), faults_(faults), server_(server) {}

    // To a line without its end.
    Reply answer(std::string_view line) const;
    // To whoever cannot be served.
    static QByteArray refusal(const std::string& reason);

  private:
    Result<QJsonObject> carryOut(const QJsonObject& request, Reply& reply,
                                 std::optional<MatrixContents>& contents) const;
    void describe(QJsonObject& into) const;

    VirtualMatrix& matrix_;
    FaultPlan& faults_;
    ControlledServer& server_;
};

}  // namespace velmora
