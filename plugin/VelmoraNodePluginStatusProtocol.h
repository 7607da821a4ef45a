// An optional protocol that a node plugin may offer beside VelmoraNodePluginProtocol: where its connection to the
// switch server stands, and what came of the last value that was read or set. The results of the host protocol tell
// neither: a value that nobody answered reads like one that somebody did.
//
// Finding it: a dynamic_pointer_cast of the plugin to VelmoraNodePluginStatusProtocol, null where the plugin does not
// offer it. A host that was built with another version than statusProtocolVersion() answers calls nothing else of it.
//
// Threads: everything here is for the main thread, and the observer is called on it. Nothing here asks the switch
// server or waits, and no operation throws.
//
// What cannot be known: replies do not name the command that they answer, so a reply that was left over from before
// counts as an answer when it happens to read like one. And a reply that the connection's end has cut is known by its
// missing line end only where other replies of the server have one, as they all do in practice; on other connections it
// counts as answered until the end is seen, and then, within a second and with nothing asked meanwhile, becomes
// connectionEnded, of which the observer is told.
#pragma once

#include <chrono>
#include <cstdint>
#include <string>

namespace velmora {

// Raised whenever this header changes; independent of the host protocol's version, and no reason to refuse a plugin.
inline constexpr std::uint32_t kVelmoraNodePluginStatusProtocolVersion = 1;

enum class NodePluginConnectionState : std::int32_t {
    noServerSelected,  // the settings name none, or the plugin is not started
    notFound,    // the named server is not announced, and there has been no connection to it since it was selected
    connecting,  // it was found; it has not accepted the connection, or not told the size of its matrix, yet
    connected,
    ended,   // the server has ended the connection
    failed,  // no address was found, or the connection could not be made, broke, or was given up for want of an answer
};

struct NodePluginConnectionStatus {
    NodePluginConnectionState state = NodePluginConnectionState::noServerSelected;
    std::string serverName;  // as it is announced; "" for none
    // In plain words for a person, one line with a capital letter and without a full stop, bounded, and with what the
    // server wrote in quotation marks and escaped; "" where the state says all.
    std::string reason;
    std::chrono::system_clock::time_point since;  // when the state began
};

enum class NodePluginAnswer : std::int32_t {
    none,             // nothing was read or set since the plugin was made
    answered,         // by a reply that says what it should; of a set, that the server did not refuse it
    unusableReply,    // a reply that says something else: no number, another output's number, no text, no line end
    connectionEnded,  // before the reply, or with it: what came may be a part of one
    noAnswerInTime,   // the connection was given up
    noConnection,     // nothing was sent, because there is no connection or the size of the matrix is not known yet
    refused,          // by the plugin, which sent nothing, or by the server, which answered that it will not
};

struct NodePluginOutcome {
    NodePluginAnswer answer = NodePluginAnswer::none;
    std::string attributeName;                     // whose value was read or set
    std::string reason;                            // as above; "" when it was answered
    std::chrono::system_clock::time_point moment;  // when the operation ended
};

// The host's observer.
class VelmoraNodePluginStatusProtocol_Observer {
  public:
    virtual ~VelmoraNodePluginStatusProtocol_Observer() = default;
    // The connection's status has changed, or an end of the connection has changed the last outcome. Comes through the
    // event loop, never inside an operation of the plugin or inside itself, whatever event loop runs in those; changes
    // that follow each other closely are told once. The host may release the plugin here.
    virtual void statusChangedForPluginName(const std::string& pluginName) = 0;
};

class VelmoraNodePluginStatusProtocol {
  public:
    virtual ~VelmoraNodePluginStatusProtocol() = default;

    // kVelmoraNodePluginStatusProtocolVersion of the header that the plugin was built with.
    virtual std::uint32_t statusProtocolVersion() const = 0;

    // As of this moment: an end of the connection shows here before the observer is told of it.
    virtual NodePluginConnectionStatus connectionStatus() const = 0;
    // Of the last currentValueOfAttributeWithName or setValueForAttributeWithName that a host called.
    virtual NodePluginOutcome lastOutcome() const = 0;

    // Not owned; null for none. The host clears it before the object goes away; no call follows.
    virtual void setStatusObserver(VelmoraNodePluginStatusProtocol_Observer* observer) = 0;
};

}  // namespace velmora
