#include "bench/PeerClient.h"

#include <cstdlib>

#include "bench/Wrong.h"

namespace velmora::bench {

namespace {

std::vector<std::string> with(std::vector<std::string> command, std::vector<std::string> arguments) {
    command.insert(command.end(), arguments.begin(), arguments.end());
    return command;
}

}  // namespace

PeerClient::PeerClient(std::vector<std::string> command, std::uint16_t port, const std::string& request,
                       const std::string& reply)
    : process_(with(std::move(command), {std::to_string(port), request, reply})), language_(process_.readLine()) {}

double PeerClient::run(int exchanges) {
    process_.writeLine("run " + std::to_string(exchanges));
    const std::string line = process_.readLine();
    const double microseconds = std::strtod(line.c_str(), nullptr);
    if (!(microseconds > 0.0)) throw Wrong("the " + language_ + " client said \"" + line + "\"");
    return microseconds;
}

}  // namespace velmora::bench
