#include "bench/SwitchServerProcess.h"

#include <unistd.h>

#include <QCoreApplication>

#include "bench/Wrong.h"

namespace velmora::bench {

SwitchServerProcess::SwitchServerProcess(const std::string& name, int inputs, int outputs, Return when)
    : name_(name),
      process_({programBeside("velmora-switch-server"), "--name", name, "--inputs", std::to_string(inputs), "--outputs",
                std::to_string(outputs), "--address", "127.0.0.1", "--interface", "lo"}) {
    const std::string beginning = "listening on 127.0.0.1:";
    const std::string line = process_.readLine();
    if (!line.starts_with(beginning)) throw Wrong("the switch server said \"" + line + "\"");
    port_ = static_cast<std::uint16_t>(std::stoi(line.substr(beginning.size())));
    if (when == Return::whenListening) return;
    const std::string announced = process_.readLine();
    if (announced != "announced as \"" + name + "\"") throw Wrong("the switch server said \"" + announced + "\"");
}

std::string newServerName() {
    static int number = 0;
    return "Bench " + std::to_string(getpid()) + "-" + std::to_string(++number);
}

std::string programBeside(const std::string& name) {
    return QCoreApplication::applicationDirPath().toStdString() + "/" + name;
}

}  // namespace velmora::bench
