#include "server/ServerProgram.h"

#include <sys/resource.h>
#include <unistd.h>

#include <QCoreApplication>
#include <csignal>
#include <cstdio>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "platform/foundation/Text.h"
#include "platform/network/NSNetServiceBrowser.h"
#include "platform/threads/Interruption.h"
#include "server/Announcement.h"
#include "server/MatrixFile.h"
#include "server/OutputQueue.h"
#include "server/ServerOptions.h"
#include "server/StateKeeper.h"
#include "server/SwitchServer.h"

namespace velmora {

namespace {

constexpr int exitFailed = 1;
constexpr int exitWrongUsage = 2;

// One line at once, whichever thread complains.
void complain(const std::string& what) {
    std::fputs(("velmora-switch-server: " + stringByEscapingControlCharacters(what) + "\n").c_str(), stderr);
}

class Reporter final : public SwitchServerDelegate {
  public:
    Reporter(OutputQueue& output, bool verbose) : output_(output), verbose_(verbose) {}

    void serverDidReceiveLine(std::string_view client, std::string_view line) override {
        printLine(client, " < ", line);
    }
    void serverDidAnswerLine(std::string_view client, std::string_view reply) override {
        printLine(client, " > ", reply);
    }
    void serverCannotAccept(const std::string& reason) override {
        complain("no room for more clients (" + reason +
                 "): new ones wait until others leave. Raise the limit with \"ulimit -n\".");
    }

  private:
    void printLine(std::string_view client, std::string_view direction, std::string_view line) const {
        if (verbose_) output_.add(std::string(client).append(direction) + stringByEscapingControlCharacters(line));
    }

    OutputQueue& output_;
    const bool verbose_;
};

// False when the file cannot be used; says why.
bool takeLabels(VirtualMatrix& matrix, const std::string& path) {
    MatrixContents contents;
    std::optional<std::string> reason = readMatrixFile(path, contents);
    contents.routes.clear();  // a state file serves as well, for its labels
    if (!reason) reason = matrix.apply(std::move(contents));
    if (reason)
        complain("cannot use the labels file " + path + ": " + *reason +
                 ". Mend it, or see --labels, --inputs and --outputs in --help.");
    return !reason;
}

int complainOfState(const ServerOptions& options, const std::string& reason) {
    complain("cannot use the state file " + options.stateFile + ": " + reason +
             ". Mend or remove it, or see --state, --inputs and --outputs in --help.");
    return exitWrongUsage;
}

}  // namespace

int runSwitchServer(const QStringList& arguments) {
    const ParsedServerOptions parsed = parseServerOptions(arguments);
    if (!parsed.options) {
        std::fputs(parsed.message.c_str(), parsed.exitCode == 0 ? stdout : stderr);
        return parsed.exitCode;
    }
    const ServerOptions& options = *parsed.options;
    const Interruption interruption([] { QCoreApplication::quit(); }, Interruption::Second::callsAgain);
    std::signal(SIGPIPE, SIG_IGN);  // a reader of our output that leaves does not end the server
    raiseDescriptorLimit();

    VirtualMatrix matrix(options.inputs, options.outputs);
    std::optional<StateKeeper> keeper;
    if (!options.stateFile.empty()) {
        keeper.emplace(matrix, options.stateFile, [&options](const std::string& reason) {
            complain("cannot write the state file " + options.stateFile + ": " + reason +
                     ". It is tried again with the next change.");
        });
        if (const auto reason = keeper->load()) return complainOfState(options, *reason);
    }
    if (!options.labelsFile.empty() && !takeLabels(matrix, options.labelsFile)) return exitWrongUsage;

    OutputQueue output(STDOUT_FILENO);
    Reporter reporter(output, options.verbose);
    FaultPlan faults(options.faults);
    SwitchServer server(matrix, &reporter, options.faults.empty() ? nullptr : &faults);
    if (const auto reason = server.start(options.address, options.port)) {
        complain(
            stringWithFormat("cannot listen on %@ port %i: %@. Choose another --port (0 is any free one) or --address.",
                             options.address, options.port, *reason));
        return exitFailed;
    }
    // Written only now: a start that fails for another reason leaves no file of another size behind.
    if (keeper) {
        if (const auto reason = keeper->start()) return complainOfState(options, *reason);
    }
    output.add("listening on " + server.endpoint());

    std::optional<Announcement> announcement;
    if (options.announce) {
        limitNetServicesToInterfaces(options.interfaces);
        announcement.emplace(
            options.name, server.port(),
            [&output](const std::string& name) {
                output.add("announced as \"" + stringByEscapingControlCharacters(name) + "\"");
            },
            [&server](const std::string& reason) {
                complain("not announced: " + reason + ". Clients that know its address still reach " +
                         server.endpoint() + ".");
            });
    }
    QCoreApplication::exec();
    announcement.reset();
    server.stop();
    return keeper && !keeper->stop() ? exitFailed : 0;
}

void raiseDescriptorLimit() {
    rlimit limit;
    if (getrlimit(RLIMIT_NOFILE, &limit) != 0) return;
    limit.rlim_cur = limit.rlim_max;
    setrlimit(RLIMIT_NOFILE, &limit);
}

}  // namespace velmora
