#include "server/ServerProgram.h"

#include <sys/resource.h>
#include <unistd.h>

#include <QCoreApplication>
#include <QTimer>
#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <exception>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "platform/foundation/Joined.h"
#include "platform/foundation/Result.h"
#include "platform/foundation/Text.h"
#include "platform/network/NSNetService.h"
#include "platform/network/NSNetServiceBrowser.h"
#include "platform/threads/Interruption.h"
#include "platform/threads/Moment.h"
#include "server/ControlSocket.h"
#include "server/InterfaceAddresses.h"
#include "server/MatrixFile.h"
#include "server/OutputQueue.h"
#include "server/ServerOptions.h"
#include "server/SocketFile.h"
#include "server/StateKeeper.h"
#include "server/SwitchServer.h"

namespace velmora {

namespace {

constexpr const char* kProgramPrefix = "velmora-switch-server: ";

// A new IPv6 address has this long to become one that can be listened on.
constexpr Seconds kNewAddressTime{3};
// Then an announcement that has failed is tried again.
constexpr std::chrono::seconds kAnnouncePause{5};

// What runs between the command line and the end.
class Program final : public SwitchServerDelegate, private NSNetServiceDelegate, private ControlledServer {
  public:
    explicit Program(const ServerOptions& options)
        : options_(options),
          matrix_(options.inputs, options.outputs),
          faults_(options.faults),
          server_(matrix_, this, options.faults.empty() && options.controlSocket.empty() ? nullptr : &faults_) {
        nextAnnouncement_.setSingleShot(true);
        nextAnnouncement_.callOnTimeout([this] { service_->publish(); });
    }

    ServerExitCode run();

    void serverDidReceiveLine(std::string_view client, std::string_view line) override {
        if (options_.verbose) output_.add(std::string(client).append(" < ").append(line));
    }
    void serverDidAnswerLine(std::string_view client, std::string_view reply) override {
        if (options_.verbose) output_.add(std::string(client).append(" > ").append(reply));
    }
    void serverDidCarryOut(std::string_view client, std::string_view line, const std::optional<std::string_view>& reply,
                           bool isFaulty) override {
        if (control_) control_->events().command(client, line, reply, isFaulty);
    }
    void serverDidGetClient(std::string_view client) override {
        if (control_) control_->events().client(true, client);
    }
    void serverDidLoseClient(std::string_view client) override {
        if (control_) control_->events().client(false, client);
    }
    void serverCannotAccept(const std::string& reason) override {
        complain("no room for more clients (" + reason +
                 "): new ones wait until others leave. Raise the limit with \"ulimit -n\".");
    }

  private:
    void netServiceDidResolveAddress(NSNetService&) override {}
    void netServiceDidPublish(NSNetService& service) override {
        output_.add("announced as \"" + service.name() + "\"");
        announcedName_ = service.name();
        announceFailure_.clear();
        if (control_) control_->events().announcement("announced", announcedName_);
    }
    void netServiceDidNotPublish(NSNetService&, const std::string& reason) override;

    std::size_t dropClients(bool withReset) override { return server_.dropClients(withReset); }
    std::vector<std::string> clientNames() const override { return server_.clientNames(); }
    bool canAnnounce() const override { return options_.announce; }
    bool isAnnouncing() const override { return service_ != nullptr; }
    std::string announcedName() const override { return announcedName_; }
    void setAnnouncing(bool announcing) override;

    // Any thread; does not wait for a terminal that has been stopped.
    void complain(const std::string& what) { complaints_.add(kProgramPrefix + what); }

    // Each answers false when the program cannot go on, and has said why.
    bool takeState();
    bool takeLabels();
    bool listen();
    bool openControlSocket();
    bool canKeepState(const Result<void>& tried);

    // None when they cannot be looked up, and has said why.
    std::optional<std::vector<std::string>> addressesOf(const std::string& interface);
    std::vector<std::string> addressesToListenOn();
    void announce();
    void complainOfUnreachedInterfaces();

    const ServerOptions& options_;
    OutputQueue output_{STDOUT_FILENO};
    OutputQueue complaints_{STDERR_FILENO};
    VirtualMatrix matrix_;
    std::optional<StateKeeper> keeper_;
    FaultPlan faults_;
    std::optional<ControlSocket> control_;  // there before the server's thread, and after it
    SwitchServer server_;
    std::shared_ptr<NSNetService> service_;  // announced while it is there
    std::string announcedName_;              // empty until the network has it
    std::string announceFailure_;            // the last one since then; told once
    QTimer nextAnnouncement_;                // set while it pauses after a failure
};

bool Program::takeState() {
    keeper_.emplace(matrix_, options_.stateFile, [this](const std::string& reason) {
        complain("cannot write the state file " + options_.stateFile + ": " + reason +
                 ". It is tried again until that works.");
    });
    if (!canKeepState(keeper_->lock())) return false;
    if (const auto loaded = keeper_->load(); !loaded) {
        complain("cannot use the state file " + options_.stateFile + ": " + loaded.failure().reason +
                 ". Mend or remove it, or see --state, --inputs and --outputs in --help.");
        return false;
    }
    return true;
}

bool Program::takeLabels() {
    auto contents = readMatrixFile(options_.labelsFile);
    if (contents) contents->routes.clear();  // a state file serves as well, for its labels
    const Result<void> taken = contents ? matrix_.apply(*std::move(contents)) : contents.failure();
    if (!taken) {
        complain("cannot use the labels file " + options_.labelsFile + ": " + taken.failure().reason +
                 ". Mend it, or see --labels, --inputs and --outputs in --help.");
    }
    return static_cast<bool>(taken);
}

std::optional<std::vector<std::string>> Program::addressesOf(const std::string& interface) {
    auto addresses = addressesOfInterface(interface);
    if (addresses) return *std::move(addresses);
    complain("cannot look up the addresses of " + interface + ": " + addresses.failure().reason + ".");
    return std::nullopt;
}

// Everywhere that the announcement leads to, unless the user knows better. Without an interface nobody but this machine
// is meant, whatever further addresses its loopback interface may have.
std::vector<std::string> Program::addressesToListenOn() {
    if (!options_.address.empty()) return {options_.address};
    std::vector<std::string> addresses;
    for (const std::string& interface : options_.interfaces) {
        for (std::string& address : addressesOf(interface).value_or(std::vector<std::string>())) {
            if (!options_.interfacesAreChosen && address != "127.0.0.1" && address != "::1") continue;
            if (std::ranges::find(addresses, address) == addresses.end()) addresses.push_back(std::move(address));
        }
    }
    if (!options_.interfacesAreChosen && addresses.empty()) return {"127.0.0.1"};
    const Date end = fromNow(kNewAddressTime);
    std::erase_if(addresses, [this, end](const std::string& address) {
        if (canListenOn(address, end)) return false;
        complain("cannot listen on " + address +
                 " yet, and clients that try it do not get through. Set it up, and start the server anew.");
        return true;
    });
    return addresses;
}

bool Program::listen() {
    const std::vector<std::string> addresses = addressesToListenOn();
    if (addresses.empty()) {
        complain("cannot listen on --interface " + joined(options_.interfaces) +
                 ": it has no address. Set it up, or give --address (0.0.0.0 or :: for all that come and go).");
        return false;
    }
    if (const auto started = server_.start(addresses, options_.port); !started) {
        complain(
            stringWithFormat("cannot listen on %@ port %i: %@. Choose another --port (0 is any free one) or --address.",
                             joined(addresses), options_.port, started.failure().reason));
        return false;
    }
    return true;
}

bool Program::canKeepState(const Result<void>& tried) {
    if (!tried) {
        complain("cannot keep the state in " + options_.stateFile + ": " + tried.failure().reason +
                 ". Mend that, or name another file with --state.");
    }
    return static_cast<bool>(tried);
}

void Program::complainOfUnreachedInterfaces() {
    for (const std::string& interface : options_.interfaces) {
        const auto there = addressesOf(interface);
        if (!there) continue;
        if (there->empty()) {
            complain(
                stringWithFormat("%@ has no address, so nobody finds the server there. Set it up; unless it listens "
                                 "on 0.0.0.0 or ::, start the server anew then.",
                                 interface));
        } else if (!options_.address.empty() && !isReachedThrough(options_.address, *there)) {
            complain(
                stringWithFormat("announced on %@, which %@ is no address of: who finds it there tries %@ and does "
                                 "not reach it. Give another --interface, or leave out --address.",
                                 interface, options_.address, joined(*there)));
        }
    }
}

void Program::announce() {
    complainOfUnreachedInterfaces();
    limitNetServicesToInterfaces(options_.interfaces);
    service_ = std::make_shared<NSNetService>("", "_matrixswitcher._tcp.", options_.name, server_.port());
    service_->setDelegate(this);
    service_->publish();
}

void Program::netServiceDidNotPublish(NSNetService&, const std::string& reason) {
    announcedName_.clear();
    nextAnnouncement_.start(kAnnouncePause);
    if (std::exchange(announceFailure_, reason) == reason) return;
    complain("not announced: " + reason + ". It is tried again; clients that know its address reach " +
             server_.endpoint() + " all the same.");
    if (control_) control_->events().announcement("notAnnounced", reason);
}

void Program::setAnnouncing(bool announcing) {
    if (announcing == isAnnouncing()) return;
    if (announcing) return announce();
    const std::string name = service_->name();
    service_ = nullptr;
    nextAnnouncement_.stop();
    announcedName_.clear();
    announceFailure_.clear();
    output_.add("withdrawn");
    if (control_) control_->events().announcement("withdrawn", name);
}

bool Program::openControlSocket() {
    Result<SocketFile> file = SocketFile::listen(options_.controlSocket);
    if (!file) {
        complain("cannot be controlled through " + options_.controlSocket + ": " + file.failure().reason +
                 ". Name another file with --control.");
        return false;
    }
    control_.emplace(*std::move(file), ControlCommands(matrix_, faults_, *this));
    matrix_.setNewsObserver([this](const MatrixNews& news) { control_->events().matrix(news); });
    return true;
}

ServerExitCode Program::run() {
    if (!options_.stateFile.empty() && !takeState()) return ServerExitCode::wrongUsage;
    if (!options_.labelsFile.empty() && !takeLabels()) return ServerExitCode::wrongUsage;
    if (!options_.controlSocket.empty() && !openControlSocket()) return ServerExitCode::wrongUsage;
    if (!listen()) return ServerExitCode::failed;
    // Written only now, so that a start that fails for another reason leaves no file of another size.
    if (keeper_ && !canKeepState(keeper_->start())) return ServerExitCode::failed;
    output_.add("listening on " + server_.endpoint());
    if (options_.announce) announce();
    QCoreApplication::exec();
    nextAnnouncement_.stop();
    service_ = nullptr;
    server_.stop();
    control_.reset();
    if (!keeper_) return ServerExitCode::done;
    const auto kept = keeper_->stop();
    if (!kept) {
        complain("the state file " + options_.stateFile + " may lack the last changes: " + kept.failure().reason + ".");
    }
    return kept ? ServerExitCode::done : ServerExitCode::failed;
}

// Outside a program's life: waits until it is printed.
void complain(const std::string& what) {
    std::fprintf(stderr, "%s%s\n", kProgramPrefix, stringByEscapingControlCharacters(what).c_str());
}

ServerExitCode print(const std::string& text) {
    if (std::fputs(text.c_str(), stdout) >= 0 && std::fflush(stdout) == 0) return ServerExitCode::done;
    complain("cannot print this: " + failureOfSystem(errno).reason);
    return ServerExitCode::failed;
}

}  // namespace

ServerExitCode runSwitchServer(int argc, const char* const* argv) {
    const Result<ServerOptions> options = parseServerOptions(argc, argv);
    if (!options) {
        complain(options.failure().reason + ". See velmora-switch-server --help.");
        return ServerExitCode::wrongUsage;
    }
    if (!options->information.empty()) return print(options->information);
    raiseDescriptorLimit();  // before anything takes a descriptor
    const Interruption interruption([] { QCoreApplication::quit(); }, Interruption::Second::callsAgain);
    std::signal(SIGPIPE, SIG_IGN);  // a reader of our output that leaves does not end the server
    try {
        return Program(*options).run();
    } catch (const std::exception& failure) {  // no memory, no threads
        complain(std::string("cannot go on: ") + failure.what());
        return ServerExitCode::failed;
    }
}

void raiseDescriptorLimit() {
    rlimit limit;
    if (getrlimit(RLIMIT_NOFILE, &limit) != 0) return;
    limit.rlim_cur = limit.rlim_max;
    setrlimit(RLIMIT_NOFILE, &limit);
}

}  // namespace velmora
