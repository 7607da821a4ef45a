#include "bench/Machine.h"

#include <sys/utsname.h>
#include <unistd.h>

#include <QDateTime>
#include <QSysInfo>
#include <fstream>
#include <string>

namespace velmora::bench {

namespace {

// The value of the first line that begins with this key; "" without one.
std::string processorProperty(const std::string& key) {
    std::ifstream lines("/proc/cpuinfo");
    for (std::string line; std::getline(lines, line);) {
        if (line.starts_with(key)) return line.substr(std::min(line.find(':') + 2, line.size()));
    }
    return "";
}

}  // namespace

QJsonObject describeMachine() {
    utsname system{};
    uname(&system);
    const bool isVirtual = processorProperty("flags").find("hypervisor") != std::string::npos;
    return {{"processor", QString::fromStdString(processorProperty("model name"))},
            {"cores", static_cast<int>(sysconf(_SC_NPROCESSORS_ONLN))},
            {"virtual", isVirtual},
            {"kernel", QString("%1 %2").arg(system.sysname, system.release)},
            {"system", QSysInfo::prettyProductName()},
            {"compiler", VELMORA_COMPILER},
            {"date", QDateTime::currentDateTimeUtc().toString("yyyy-MM-dd HH:mm 'UTC'")}};
}

}  // namespace velmora::bench
