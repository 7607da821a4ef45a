#include "bench/soak/Record.h"

namespace velmora::bench {

Record::Entry Record::entry() const {
    MutexLock lock(mutex_);
    return entry_;
}

void Record::serverDidReceiveLine(std::string_view client, std::string_view line) {
    MutexLock lock(mutex_);
    ++entry_.lines;
    entry_.client = client;
    entry_.line = line;
    entry_.reply.clear();
}

void Record::serverDidAnswerLine(std::string_view client, std::string_view reply) {
    MutexLock lock(mutex_);
    if (client == entry_.client) entry_.reply = reply;  // not a late reply on an abandoned connection
}

}  // namespace velmora::bench
