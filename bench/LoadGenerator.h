// Many clients in one thread, each with one exchange in flight.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace velmora::bench {

class LoadGenerator {
  public:
    // Connects this many clients to that port of 127.0.0.1. The request and the expected reply include their ends.
    // Throws Wrong when a client cannot connect.
    LoadGenerator(std::uint16_t port, int clients, std::string request, std::string reply);
    LoadGenerator(const LoadGenerator&) = delete;
    LoadGenerator& operator=(const LoadGenerator&) = delete;
    ~LoadGenerator();

    // Makes this many exchanges over all clients and returns how many were made per second. Throws Wrong when a reply
    // is not the expected one, or when none comes for ten seconds.
    double run(int exchanges);

  private:
    struct Client {
        int descriptor;
        std::size_t received = 0;  // bytes of the reply so far
    };

    void send(const Client& client) const;
    // Whether the reply is complete.
    bool receive(Client& client) const;

    const std::string request_;
    const std::string reply_;
    const int poller_;
    std::vector<Client> clients_;
};

}  // namespace velmora::bench
