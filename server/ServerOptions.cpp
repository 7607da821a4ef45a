#include "server/ServerOptions.h"

#include <arpa/inet.h>
#include <net/if.h>

#include <QCommandLineParser>
#include <charconv>
#include <optional>
#include <utility>

#include "platform/foundation/CommandLine.h"
#include "platform/foundation/NearestWord.h"
#include "platform/foundation/Text.h"
#include "server/VirtualMatrix.h"

namespace velmora {

namespace {

constexpr std::size_t kLongestServiceName = 63;  // bytes, as DNS counts them

constexpr const char* kDescription = R"(
A virtual matrix switcher: a switch server without hardware behind it, for
trying and testing. It has labels and routes, answers any number of clients
over TCP, and announces itself as a service of the type _matrixswitcher._tcp.

Requests are lines, each answered by one line:
  MATRIXSIZE, GET OUTPUT, SET OUTPUT INPUT, INPUTLABEL INPUT,
  OUTPUTLABEL OUTPUT, REFRESH
Numbers count from 1. Anything else is answered with ERROR.

It runs until it gets SIGINT (Ctrl-C), SIGTERM or SIGHUP (its terminal is closed;
ignored under nohup). Exit codes: 0 ended in order, 1 the network or the disk did
not let it work, 2 wrong command line or unusable file.

Faults, for trying clients, as --fault takes them:
)";
constexpr const char* kFaultUse = R"(
@COMMAND is one of the words above; without it a fault concerns every line. #N
picks the N-th such line (or connection); without it each one is concerned.
Several faults of one line are combined. What a line asks for is done all the
same.
)";

constexpr const char* kControlUse = R"(
Control, for scripts, as --control takes it: JSON objects, one a line, each
answered by one line. An object holds one or more of these keys:
  "routes"     {"OUTPUT": INPUT, ...}, or a list that begins with output 1
  "inputs"     {"INPUT": "LABEL", ...}, or a list; "outputs" likewise
  "faults"     ["VERB...", ...], as above: from now on these and no others
  "announced"  true or false: is announced again, or withdrawn
  "drop"       "close" or "reset": ends the connections of all clients
  "dump"       true: the reply holds size, routes, labels, faults, clients
               and the announced name
  "subscribe"  true or false: what happens follows, one JSON object a line
               with "event" and "time"
  "id"         a text or number, which comes back with the reply
A reply holds "ok", or "error" and why; then nothing has been done.
)";

QList<QCommandLineOption> allOptions() {
    return {
        {"name", "Announce the server under this name, 1 to 63 bytes long.", "TEXT", "Virtual Matrix"},
        {"inputs", "Number of inputs, 1 to 65536.", "N", "16"},
        {"outputs", "Number of outputs, 1 to 65536.", "N", "8"},
        {"port", "TCP port to listen on, up to 65535; 0 takes any free one.", "N", "0"},
        {"address",
         "IPv4 or IPv6 address to listen on. Without it the addresses that each --interface has at the start, or "
         "127.0.0.1 and ::1, which are reached from this machine only. 0.0.0.0 or :: is reached from everywhere, also "
         "when addresses change; then announce it with --interface too.",
         "ADDR"},
        {"interface",
         "Network interface to announce the server on, and to listen on unless --address says otherwise, for example "
         "eth0. May be given several times.",
         "NAME", "lo"},
        {"no-announce", "Do not announce the server; clients have to know its address and port."},
        {"labels",
         "JSON file with the lists \"inputs\" and \"outputs\" of labels, the first for number 1. Inputs and outputs "
         "without a label there are called \"Input N\" and \"Output N\". Control characters become blanks. These "
         "labels take precedence over those of a state file.",
         "FILE"},
        {"state",
         "Keep routes and labels in this JSON file across restarts. It is made if it is missing, and replaced as a "
         "whole soon after each change; a write that fails is tried again. A damaged file is refused and left as it "
         "is, and so is one that another server has in use.",
         "FILE"},
        {"control",
         "Let other programs of this user change routes, labels, faults and the announcement while the server runs, "
         "and "
         "see what its clients do, through a Unix socket of this name, as described above. It is removed at the end; "
         "one "
         "that a killed server has left is replaced.",
         "SOCKET"},
        {"verbose", "Print each line that comes in (<) and goes out (>), with the client's address."},
        {"fault", "Misbehave towards clients, as listed above; for example silence@SET#3. May be given several times.",
         "VERB[=ARG][@COMMAND][#N]"},
        {{"h", "help"}, "Show this help."},
        {"version", "Show the version."},
    };
}

// The values of the options. Of those that cannot be used, the first is remembered.
class Values {
  public:
    explicit Values(const QCommandLineParser& parser) : parser_(parser) {}

    const std::optional<Failure>& failure() const { return failure_; }

    bool isSet(const char* name) const { return parser_.isSet(name); }
    std::string text(const char* name) const { return parser_.value(name).toStdString(); }

    int number(const char* name, int least, int most) {
        const std::string value = text(name);
        int parsed = 0;
        const auto [end, failure] = std::from_chars(value.data(), value.data() + value.size(), parsed);
        if (failure != std::errc() || end != value.data() + value.size() || parsed < least || parsed > most) {
            refuse(stringWithFormat("--%@ takes a number from %i to %i, not \"%@\"", name, least, most, value));
        }
        return parsed;
    }

    std::string serviceName() {
        const std::string name = text("name");
        if (name.empty() || name.size() > kLongestServiceName) {
            refuse(stringWithFormat("--name takes 1 to %li bytes; this one has %li", kLongestServiceName, name.size()));
        }
        return name;
    }

    std::string address() {
        if (!isSet("address")) return {};
        const std::string address = text("address");
        unsigned char bytes[sizeof(in6_addr)];
        if (inet_pton(AF_INET, address.c_str(), bytes) != 1 && inet_pton(AF_INET6, address.c_str(), bytes) != 1) {
            refuse(stringWithFormat("--address takes an IPv4 or IPv6 address such as 127.0.0.1, not \"%@\"", address));
        }
        return address;
    }

    std::vector<std::string> interfaces() {
        std::vector<std::string> names;
        for (const QString& value : parser_.values("interface")) {
            names.push_back(value.toStdString());
            if (if_nametoindex(names.back().c_str()) == 0) {
                refuse(stringWithFormat("there is no network interface \"%@\"; this machine has %@", names.back(),
                                        present()));
            }
        }
        return names;
    }

    std::vector<Fault> faults() {
        std::vector<Fault> faults;
        for (const QString& value : parser_.values("fault")) {
            const std::string text = value.toStdString();
            const Result<Fault> fault = parseFault(text);
            if (fault) {
                faults.push_back(*fault);
            } else {
                refuse(stringWithFormat("--fault %@: %@", text, fault.failure().reason));
            }
        }
        return faults;
    }

    std::string file(const char* name) {
        if (isSet(name) && text(name).empty()) refuse(stringWithFormat("--%@ needs the name of a file", name));
        return text(name);
    }

  private:
    void refuse(std::string reason) {
        if (!failure_) failure_ = Failure{std::move(reason)};
    }

    static std::string present() {
        std::string names;
        struct if_nameindex* const all = if_nameindex();
        for (const auto* each = all; each != nullptr && each->if_index != 0; ++each) {
            names += (names.empty() ? "" : ", ") + std::string(each->if_name);
        }
        if (all != nullptr) if_freenameindex(all);
        return names;
    }

    const QCommandLineParser& parser_;
    std::optional<Failure> failure_;
};

Result<ServerOptions> readOptions(const QCommandLineParser& parser) {
    Values values(parser);
    ServerOptions options;
    options.name = values.serviceName();
    options.inputs = values.number("inputs", 1, VirtualMatrix::kMaximumSize);
    options.outputs = values.number("outputs", 1, VirtualMatrix::kMaximumSize);
    options.port = static_cast<std::uint16_t>(values.number("port", 0, 65535));
    options.address = values.address();
    options.announce = !values.isSet("no-announce");
    if (options.announce) options.interfaces = values.interfaces();
    options.interfacesAreChosen = options.announce && values.isSet("interface");
    options.labelsFile = values.file("labels");
    options.stateFile = values.file("state");
    options.controlSocket = values.file("control");
    options.verbose = values.isSet("verbose");
    options.faults = values.faults();
    if (values.failure()) return *values.failure();
    return options;
}

// Without its full stop; with a mistyped option the one that was probably meant.
std::string complaintOf(const QCommandLineParser& parser) {
    std::string complaint = parser.errorText().toStdString();
    if (complaint.ends_with('.')) complaint.pop_back();
    const QStringList unknown = parser.unknownOptionNames();
    if (unknown.isEmpty()) return complaint;
    std::vector<std::string> names;
    for (const QCommandLineOption& option : allOptions()) {
        names.push_back(option.names().last().toStdString());
    }
    const std::vector<std::string_view> known(names.begin(), names.end());
    const auto nearest = nearestWord(unknown.first().toStdString(), known);
    return nearest ? complaint + " (did you mean --" + *nearest + "?)" : complaint;
}

ServerOptions withInformation(const QString& text) {
    ServerOptions options;
    // It names the program as whoever started it did.
    options.information = stringByReplacingControlCharacters(text.toStdString(), [](char32_t character) {
        return character == '\n' ? "\n" : "\\u{" + hexadecimalDigits(character, 4) + "}";
    });
    return options;
}

}  // namespace

Result<ServerOptions> parseServerOptions(int argc, const char* const* argv) {
    const Result<QStringList> words = wordsOfCommandLine(argc, argv);
    if (!words) return words.failure();
    QCommandLineParser parser;
    parser.setApplicationDescription(QString::fromStdString(kDescription + faultHelp() + kFaultUse + kControlUse));
    for (QCommandLineOption option : allOptions()) {
        if (const QStringList standard = option.defaultValues(); !standard.isEmpty()) {
            option.setDescription(option.description() + " Default: " + standard.first() + ".");
        }
        parser.addOption(option);
    }
    if (!parser.parse(*words)) return Failure{complaintOf(parser)};
    if (parser.isSet("help")) return withInformation(parser.helpText());
    if (parser.isSet("version")) {
        return withInformation(QCoreApplication::applicationName() + ' ' + QCoreApplication::applicationVersion() +
                               '\n');
    }
    if (const QStringList others = parser.positionalArguments(); !others.isEmpty()) {
        return Failure{stringWithFormat("\"%@\" is not an option", others.first().toStdString())};
    }
    return readOptions(parser);
}

}  // namespace velmora
