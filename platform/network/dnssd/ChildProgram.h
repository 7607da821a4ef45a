// A program of ours beside the host's process, of which the host notices nothing.
#pragma once

#include <chrono>
#include <string>

#include "platform/foundation/Descriptor.h"
#include "platform/foundation/Result.h"

namespace velmora {

// A host may ignore SIGCHLD, handle it, or wait for any child, and rightly takes every child for its own. So the
// program is no child of the host: a helper process starts it and ends at once, which leaves the program to the
// system's first process. The helper shares the host's memory and stops only the calling thread (as with vfork, a large
// host is not copied), tells no one of its end (its exit signal is none, so that neither a SIGCHLD nor a wait() without
// __WCLONE meets it) and is waited for here. It cannot become the program itself, because executing turns the exit
// signal back into SIGCHLD.
//
// There is one exception: a host that is a "child subreaper" or the first process of its process namespace inherits the
// program, and at the program's end is sent a SIGCHLD. It keeps no zombie even then: whoever ends the program collects
// it. In exchange nobody is told with which code or signal the program has ended.
//
// The program has a session of its own, so that the terminal's Ctrl-C meets the host alone, default signal handlers and
// an empty mask; of the host's descriptors and of its environment (preloads, library paths) it gets nothing. Descriptor
// kMdnsDescriptor is its end of the socket pair; 0 to 2 are /dev/null.
//
// One thread.
class ChildProgram {
  public:
    // `path` is absolute.
    static Result<ChildProgram> start(const std::string& path);
    // Takes over both descriptors; the one of the process may be -1, for an other end without a process of its own.
    ChildProgram(int socket, int process) : socket_(socket), process_(process) {}
    ChildProgram(ChildProgram&&) = default;
    ChildProgram& operator=(ChildProgram&&) = delete;
    // Ends the connection, upon which the program ends; waits for that, and kills a program that takes longer than
    // kEndTime. Nothing is left of it.
    ~ChildProgram();

    // This end of a SOCK_SEQPACKET socket pair. It never blocks when MSG_DONTWAIT is given.
    int socket() const { return socket_.number(); }
    void kill() const;

    static constexpr std::chrono::milliseconds kEndTime{500};

  private:
    bool endsWithin(std::chrono::milliseconds time) const;

    Descriptor socket_;
    Descriptor process_;  // pidfd
};

}  // namespace velmora
