#include "server/ServerOptions.h"

#include <arpa/inet.h>
#include <net/if.h>

#include <QCommandLineParser>
#include <charconv>

#include "platform/foundation/Text.h"
#include "server/VirtualMatrix.h"

namespace velmora {

namespace {

constexpr std::size_t longestServiceName = 63;  // bytes, as DNS counts them

const char* const description = R"(
A virtual matrix switcher: a switch server without hardware behind it, for
trying and testing. It has labels and routes, answers any number of clients
over TCP, and announces itself as a service of the type _matrixswitcher._tcp.

Requests are lines, each answered by one line:
  MATRIXSIZE, GET OUTPUT, SET OUTPUT INPUT, INPUTLABEL INPUT,
  OUTPUTLABEL OUTPUT, REFRESH
Numbers are counted from 1. Anything else is answered with ERROR.

It runs until it gets SIGINT (Ctrl-C), SIGTERM or SIGHUP (its terminal is closed;
not when started with nohup). Exit codes: 0 ended in order, 1 the network or the
disk did not let it work, 2 wrong command line or unusable file.

Faults, for trying clients, as --fault takes them:
)";
const char* const faultUse = R"(
@COMMAND is one of the words above; without it a fault is of every line. #N lets
only the N-th such line (or connection) meet it; without it each one does. The
faults that meet a line are combined. What a line asks for is done all the same.
)";

struct Texts {
    const char* name;
    const char* help;
    const char* value;
    const char* standard;
};

// An option without a value name is a switch.
constexpr Texts nameOption{"name", "Announce the server under this name, 1 to 63 bytes long.", "TEXT",
                           "Virtual Matrix"};
constexpr Texts inputsOption{"inputs", "Number of inputs, 1 to 65536.", "N", "16"};
constexpr Texts outputsOption{"outputs", "Number of outputs, 1 to 65536.", "N", "8"};
constexpr Texts portOption{"port", "TCP port to listen on, up to 65535; 0 takes any free one.", "N", "0"};
constexpr Texts addressOption{
    "address",
    "IPv4 or IPv6 address to listen on. Without it the addresses that each --interface has at the start, or 127.0.0.1 "
    "and ::1, which are reached from this machine only. 0.0.0.0 or :: is reached from "
    "everywhere, also when addresses change; then announce it with --interface too.",
    "ADDR", ""};
constexpr Texts interfaceOption{
    "interface",
    "Network interface to announce the server on, and to listen on unless --address says otherwise, for example eth0. "
    "May be given several times.",
    "NAME", "lo"};
constexpr Texts noAnnounceOption{"no-announce",
                                 "Do not announce the server; clients have to know its address and port.", "", ""};
constexpr Texts labelsOption{
    "labels",
    "JSON file with the lists \"inputs\" and \"outputs\" of labels, the first for number 1. Inputs and outputs "
    "without a label there are called \"Input N\" and \"Output N\". Control characters become blanks. Labels from "
    "here go before those of a state file.",
    "FILE", ""};
constexpr Texts stateOption{
    "state",
    "Keep routes and labels in this JSON file across restarts. It is made if it is missing, and written anew, "
    "never in part, soon after each change; what cannot be written is tried again. A damaged file is refused and left "
    "as it is, and so is one that another server keeps.",
    "FILE", ""};
constexpr Texts verboseOption{"verbose",
                              "Print each line that comes in (<) and goes out (>), with the client's address.", "", ""};

constexpr Texts faultOption{"fault",
                            "Misbehave towards clients, as listed above; for example silence@SET#3. May be given "
                            "several times.",
                            "VERB[=ARG][@COMMAND][#N]", ""};

constexpr Texts helpOption{"help", "Show this help.", "", ""};
constexpr Texts versionOption{"version", "Show the version.", "", ""};
constexpr Texts allOptions[] = {nameOption,      inputsOption,     outputsOption, portOption,  addressOption,
                                interfaceOption, noAnnounceOption, labelsOption,  stateOption, verboseOption,
                                faultOption,     helpOption,       versionOption};

QCommandLineOption option(const Texts& texts) {
    const std::string standard = *texts.standard == 0 ? "" : stringWithFormat(" Default: %@.", texts.standard);
    return QCommandLineOption(texts.name, QString::fromStdString(texts.help + standard), texts.value, texts.standard);
}

// What is wrong with a value is thrown within this file only.
struct WrongUsage {
    std::string message;
};

class Values {
  public:
    explicit Values(const QCommandLineParser& parser) : parser_(parser) {}

    bool isSet(const Texts& texts) const { return parser_.isSet(texts.name); }
    std::string text(const Texts& texts) const { return parser_.value(texts.name).toStdString(); }

    int number(const Texts& texts, int least, int most) const {
        const std::string value = text(texts);
        int parsed = 0;
        const auto [end, failure] = std::from_chars(value.data(), value.data() + value.size(), parsed);
        if (failure != std::errc() || end != value.data() + value.size() || parsed < least || parsed > most)
            throw WrongUsage{
                stringWithFormat("--%@ takes a number from %i to %i, not \"%@\".", texts.name, least, most, value)};
        return parsed;
    }

    std::string serviceName() const {
        const std::string name = text(nameOption);
        if (name.empty() || name.size() > longestServiceName)
            throw WrongUsage{
                stringWithFormat("--name takes 1 to %li bytes; this one has %li.", longestServiceName, name.size())};
        return name;
    }

    std::string address() const {
        if (!isSet(addressOption)) return {};
        const std::string address = text(addressOption);
        unsigned char bytes[sizeof(in6_addr)];
        if (inet_pton(AF_INET, address.c_str(), bytes) != 1 && inet_pton(AF_INET6, address.c_str(), bytes) != 1)
            throw WrongUsage{
                stringWithFormat("--address takes an IPv4 or IPv6 address such as 127.0.0.1, not \"%@\".", address)};
        return address;
    }

    std::vector<std::string> interfaces() const {
        std::vector<std::string> names;
        for (const QString& value : parser_.values(interfaceOption.name)) {
            names.push_back(value.toStdString());
            if (if_nametoindex(names.back().c_str()) == 0)
                throw WrongUsage{stringWithFormat("There is no network interface \"%@\" here; this machine has %@.",
                                                  names.back(), present())};
        }
        return names;
    }

    std::vector<Fault> faults() const {
        std::vector<Fault> faults;
        for (const QString& value : parser_.values(faultOption.name)) {
            const std::string text = value.toStdString();
            if (const auto reason = parseFault(text, faults.emplace_back()))
                throw WrongUsage{stringWithFormat("--fault %@: %@.", text, *reason)};
        }
        return faults;
    }

    std::string file(const Texts& texts) const {
        if (isSet(texts) && text(texts).empty())
            throw WrongUsage{stringWithFormat("--%@ needs the name of a file.", texts.name)};
        return text(texts);
    }

  private:
    static std::string present() {
        std::string names;
        struct if_nameindex* const all = if_nameindex();
        for (const auto* each = all; each != nullptr && each->if_index != 0; ++each)
            names += (names.empty() ? "" : ", ") + std::string(each->if_name);
        if (all != nullptr) if_freenameindex(all);
        return names;
    }

    const QCommandLineParser& parser_;
};

ServerOptions readOptions(const Values& values) {
    ServerOptions options;
    options.name = values.serviceName();
    options.inputs = values.number(inputsOption, 1, VirtualMatrix::maximumSize);
    options.outputs = values.number(outputsOption, 1, VirtualMatrix::maximumSize);
    options.port = static_cast<std::uint16_t>(values.number(portOption, 0, 65535));
    options.address = values.address();
    options.announce = !values.isSet(noAnnounceOption);
    if (options.announce) options.interfaces = values.interfaces();
    options.interfacesAreChosen = options.announce && values.isSet(interfaceOption);
    options.labelsFile = values.file(labelsOption);
    options.stateFile = values.file(stateOption);
    options.verbose = values.isSet(verboseOption);
    options.faults = values.faults();
    return options;
}

}  // namespace

ParsedServerOptions parseServerOptions(const QStringList& arguments) {
    const std::string program = QCoreApplication::applicationName().toStdString();
    QCommandLineParser parser;
    parser.setApplicationDescription(QString::fromStdString(description + faultHelp() + faultUse));
    for (const Texts& texts : allOptions)
        parser.addOption(option(texts));
    try {
        if (!parser.parse(arguments)) throw WrongUsage{parser.errorText().toStdString()};
        if (parser.isSet(helpOption.name)) return {std::nullopt, parser.helpText().toStdString(), 0};
        if (parser.isSet(versionOption.name))
            return {std::nullopt, program + " " + QCoreApplication::applicationVersion().toStdString() + "\n", 0};
        if (const QStringList others = parser.positionalArguments(); !others.isEmpty())
            throw WrongUsage{stringWithFormat("\"%@\" is not an option.", others.first().toStdString())};
        return {readOptions(Values(parser)), {}, 0};
    } catch (const WrongUsage& wrong) {
        return {std::nullopt,
                stringWithFormat("%@: %@\nSee %@ --help.\n", program, stringByEscapingControlCharacters(wrong.message),
                                 program),
                2};
    }
}

}  // namespace velmora
