// On which cores the server's process and its clients run. On a small machine this decides more than anything else: a
// thread that wakes another on a core that sleeps pays many times what a hand-over on one core costs.
#pragma once

#include <sched.h>
#include <sys/types.h>

#include <string>
#include <vector>

namespace velmora::bench {

class Placement {
  public:
    // "apart": the server's process on a core of its own, its clients on another, which is nearest to a server on
    // another machine. "together": all on one core. "free": as the scheduler likes. With one core only "together".
    static std::vector<Placement> all();
    // The one that targets are judged in: "apart" where there are two cores.
    static Placement judged() { return all().front(); }
    // The one that restricts the least. To be applied before any other, because it is what the process was given.
    static Placement least() { return all().back(); }

    const std::string& name() const { return name_; }
    bool isJudged() const { return name_ == judged().name_; }

    // Puts every thread of these processes, and every later one of theirs, where it belongs. This process counts as a
    // client.
    void apply(const std::vector<pid_t>& servers, const std::vector<pid_t>& clients = {}) const;

  private:
    Placement(std::string name, cpu_set_t servers, cpu_set_t clients)
        : name_(std::move(name)), servers_(servers), clients_(clients) {}

    std::string name_;
    cpu_set_t servers_;
    cpu_set_t clients_;
};

}  // namespace velmora::bench
