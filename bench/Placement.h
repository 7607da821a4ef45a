// The cores that the server's process and its clients run on. On a small machine nothing matters more: waking a thread
// on a sleeping core costs many times as much as a hand-over on the same core.
#pragma once

#include <sched.h>
#include <sys/types.h>

#include <string>
#include <vector>

namespace velmora::bench {

class Placement {
  public:
    // "apart": the server's process on one core, its clients on another, which comes closest to a server on another
    // machine. "together": all on one core. "free": as the scheduler likes. With one core only "together".
    static std::vector<Placement> all();
    // The one in which targets are judged: "apart" where there are two cores.
    static Placement judged() { return all().front(); }
    // The least restrictive one. Apply it before any other, because it is what the process was given.
    static Placement least() { return all().back(); }

    const std::string& name() const { return name_; }
    bool isJudged() const { return name_ == judged().name_; }

    // Puts every present and future thread of these processes where it belongs. This process counts as a client.
    void apply(const std::vector<pid_t>& servers, const std::vector<pid_t>& clients = {}) const;

  private:
    Placement(std::string name, cpu_set_t servers, cpu_set_t clients)
        : name_(std::move(name)), servers_(servers), clients_(clients) {}

    std::string name_;
    cpu_set_t servers_;
    cpu_set_t clients_;
};

}  // namespace velmora::bench
