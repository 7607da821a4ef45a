// The server's own record: the lines that came, and the replies that they should get.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "platform/threads/ThreadAnnotations.h"
#include "server/SwitchServer.h"

namespace velmora::bench {

// Written on the server's thread, read by the client's.
class Record : public SwitchServerDelegate {
  public:
    struct Entry {
        std::int64_t lines = 0;  // how many came
        std::string client;      // the sender of the last one
        std::string line;        // the last one
        std::string reply;       // its reply, before any fault
    };
    Entry entry() const;

    void serverDidReceiveLine(std::string_view client, std::string_view line) override;
    void serverDidAnswerLine(std::string_view client, std::string_view reply) override;

  private:
    mutable Mutex mutex_;
    Entry entry_ GUARDED_BY(mutex_);
};

}  // namespace velmora::bench
