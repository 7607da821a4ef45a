#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <thread>

#include "bench/BareClient.h"
#include "bench/Contender.h"
#include "bench/LoadGenerator.h"
#include "bench/Placement.h"
#include "bench/Process.h"
#include "bench/Rows.h"
#include "bench/SwitchServerProcess.h"
#include "bench/Wrong.h"

namespace velmora::bench {

namespace {

constexpr int kClients = 100;

std::uint16_t freePort() {
    const int descriptor = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t length = sizeof address;
    const bool good = bind(descriptor, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0 &&
                      getsockname(descriptor, reinterpret_cast<sockaddr*>(&address), &length) == 0;
    close(descriptor);
    if (!good) throw Wrong("no port to be had");
    return ntohs(address.sin_port);
}

// A redis-server that works in memory only; it ends with this object.
class RedisServer {
  public:
    RedisServer()
        : port_(freePort()),
          process_({"redis-server", "--port", std::to_string(port_), "--bind", "127.0.0.1", "--save", "",
                    "--appendonly", "no", "--daemonize", "no", "--loglevel", "notice", "--logfile", ""}) {
        while (process_.readLine().find("Ready to accept connections") == std::string::npos) {
        }
    }

    std::uint16_t port() const { return port_; }
    pid_t id() const { return process_.id(); }

  private:
    const std::uint16_t port_;
    Process process_;
};

}  // namespace

void measureThroughput(Suite& suite) {
    const int exchanges = suite.quick ? 10'000 : 100'000;
    const SwitchServerProcess server(newServerName(), 16, 16);
    LoadGenerator load(server.port(), kClients, "INPUTLABEL 1\n\r", "Input 1\r\n");
    std::vector<Contender> all = {{"switch server", [&] { return load.run(exchanges); }}};
    std::vector<pid_t> servers = {server.id()};
    std::unique_ptr<RedisServer> redis;
    std::unique_ptr<LoadGenerator> redisLoad;
    if (programExists("redis-server")) {
        redis = std::make_unique<RedisServer>();
        redisLoad = std::make_unique<LoadGenerator>(redis->port(), kClients, "PING\r\n", "+PONG\r\n");
        all.push_back({"redis-server, PING", [&] { return redisLoad->run(exchanges); }});
        servers.push_back(redis->id());
    }
    Placement::judged().apply(servers);
    takeTurns(all, suite.quick ? 3 : 11);

    Row row{.group = "throughput", .name = "virtual server, 100 clients", .placement = Placement::judged().name()};
    row.figure = all[0].medianFigure() / 1000;
    row.unit = "thousand/s";
    row.against = "redis-server, PING inline";
    row.target = "at most 2.00";
    if (redis != nullptr) {
        row.againstFigure = all[1].medianFigure() / 1000;
        row.ratio = all[1].medianFigure() / all[0].medianFigure();
        row.met = *row.ratio <= 2.0;
    } else {
        row.note = "redis-server is not installed: the comparison was not measured";
    }
    suite.report.add(std::move(row));
}

}  // namespace velmora::bench
