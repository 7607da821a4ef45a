// What the server says of itself: the lines that came and the replies that they were to get.
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
        std::int64_t lines = 0;  // so many came
        std::string client;      // whose was the last one
        std::string line;        // which was it
        std::string reply;       // and what it was to be answered with, before any fault
    };
    Entry entry() const;

    void serverDidReceiveLine(std::string_view client, std::string_view line) override;
    void serverDidAnswerLine(std::string_view client, std::string_view reply) override;

  private:
    mutable Mutex mutex_;
    Entry entry_ GUARDED_BY(mutex_);
};

}  // namespace velmora::bench
