#include <stdlib.h>
#include <unistd.h>

#include <QCoreApplication>
#include <QTemporaryDir>
#include <fstream>
#include <map>

#include "bench/Placement.h"
#include "bench/PluginSession.h"
#include "bench/Process.h"
#include "bench/Rows.h"
#include "bench/SwitchServerProcess.h"
#include "bench/Wrong.h"

namespace velmora::bench {

namespace {

constexpr int kExchanges = 1000;
constexpr std::string_view kMark = "velmora-bench-mark";

// A system call that does nothing and shows in the trace.
void mark() {
    [[maybe_unused]] const auto written = write(-1, kMark.data(), kMark.size());
}

// Calls by thread and name.
using Counts = std::map<std::string, std::map<std::string, int>>;

// Reads the lines "THREAD NAME(ARGUMENTS..." between the two marks. A call that another thread's line interrupts
// continues on a second line, which is not counted. Returns the thread that made the marks.
std::string readTrace(const std::string& path, Counts& counts) {
    std::ifstream lines(path);
    std::string marking;
    int marks = 0;
    for (std::string line; std::getline(lines, line);) {
        const auto name = line.find_first_not_of(' ', line.find(' '));
        const auto bracket = line.find('(', name);
        if (line.find(kMark) != std::string::npos) {
            marking = line.substr(0, line.find(' '));
            ++marks;
        } else if (marks == 1 && bracket != std::string::npos && line[name] != '<' && line[name] != '-') {
            ++counts[line.substr(0, line.find(' '))][line.substr(name, bracket - name)];
        }
    }
    if (marks != 2) throw Wrong("the trace of the system calls is not complete");
    return marking;
}

Row rowFor(const std::string& name, const std::map<std::string, int>& calls) {
    Row row{.group = "counts", .name = name, .figure = 0.0};
    for (const auto& [call, count] : calls) {
        const double each = static_cast<double>(count) / kExchanges;
        if (each < 0.05) continue;  // something that the thread does only now and then
        *row.figure += each;
        char text[64];
        std::snprintf(text, sizeof text, "%s%s %.2f", row.note.empty() ? "" : ", ", call.c_str(), each);
        row.note += text;
    }
    return row;
}

}  // namespace

void makeMarkedExchanges(const std::string& server, int count) {
    PluginSession session(server, 1);
    session.waitForAttributes();
    session.switcher().inputLabelAtIndex(0);
    mark();
    for (int i = 0; i < count; ++i) {
        if (session.switcher().inputLabelAtIndex(0) != "Input 1") throw Wrong("the switcher got a wrong reply");
    }
    mark();
}

void measureSystemCalls(Suite& suite) {
    const std::string name = "system calls in one exchange, ";
    if (!programExists("strace")) {
        suite.report.add({.group = "counts", .name = name + "both threads", .note = "strace is not installed"});
        return;
    }
    const SwitchServerProcess server(newServerName(), 16, 16);
    Placement::judged().apply({server.id()});
    const QTemporaryDir folder;
    const std::string trace = folder.filePath("trace").toStdString();
    Process traced({"strace", "-f", "-qq", "-o", trace, QCoreApplication::applicationFilePath().toStdString(),
                    "--exchange-with", server.name(), "--count", std::to_string(kExchanges)});
    traced.waitForSuccess();
    Counts counts;
    const std::string client = readTrace(trace, counts);
    std::map<std::string, int> others;
    for (const auto& [thread, calls] : counts) {
        if (thread == client) continue;
        for (const auto& [call, count] : calls) {
            others[call] += count;
        }
    }
    suite.report.add(rowFor(name + "main thread", counts[client]));
    suite.report.add(rowFor(name + "communications thread", others));
}

}  // namespace velmora::bench
