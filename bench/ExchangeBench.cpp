// One command exchange through the switcher, and one attribute set through the plugin, beside a bare blocking socket
// with the same lines and the same server. The contenders take turns, so that whatever the machine does meanwhile meets
// all of them.
#include <arpa/inet.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <unistd.h>

#include <QCoreApplication>
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <functional>

#include "bench/ServerProcess.h"
#include "platform/network/NSNetServiceBrowser.h"
#include "plugin/VelmoraSwitchNodePlugin.h"

namespace {

using namespace velmora;
using Clock = std::chrono::steady_clock;

constexpr int kRounds = 40;
constexpr int kExchangesEachRound = 1000;
constexpr const char* kOutput = "Velmora Switch Output 1";

// What a program without any of this would do: send a line, wait for its reply.
class BareClient {
  public:
    explicit BareClient(std::uint16_t port) {
        const auto address = *SocketAddress::fromText("127.0.0.1", port);
        if (connect(descriptor_, address.get(), address.length()) != 0) std::abort();
        const int one = 1;
        setsockopt(descriptor_, IPPROTO_TCP, TCP_NODELAY, &one, sizeof one);
    }
    ~BareClient() { close(descriptor_); }
    void exchange(const std::string& line) {
        char reply[2048];
        if (send(descriptor_, line.data(), line.size(), 0) != static_cast<ssize_t>(line.size())) std::abort();
        if (recv(descriptor_, reply, sizeof reply, 0) <= 0) std::abort();
    }

  private:
    const int descriptor_ = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
};

double microsecondsEach(const std::function<void()>& exchange) {
    const auto start = Clock::now();
    for (int i = 0; i < kExchangesEachRound; ++i) {
        exchange();
    }
    return std::chrono::duration<double, std::micro>(Clock::now() - start).count() / kExchangesEachRound;
}

double median(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

DictionaryReference settingsFor(const std::string& server) {
    auto entry = std::make_shared<PropertyListDictionary>();
    entry->emplace("label", "Bench");
    auto outputs = std::make_shared<PropertyListArray>();
    outputs->emplace_back(std::move(entry));
    auto settings = std::make_shared<PropertyListDictionary>();
    settings->emplace("selectedDeviceName", server);
    settings->emplace("configuredOutputs", std::move(outputs));
    return settings;
}

}  // namespace

int main(int argc, char** argv) {
    QCoreApplication application(argc, argv);
    limitNetServicesToInterfaces({"lo"});
    const std::string name = "Bench " + std::to_string(getpid());
    const std::string program = QCoreApplication::applicationDirPath().toStdString() + "/velmora-switch-server";
    const bench::ServerProcess server(program, {"--name", name, "--inputs", "16", "--outputs", "16"}, true);
    const auto plugin = std::make_shared<VelmoraSwitchNodePlugin>(nullptr);
    plugin->setDefaultSettings(settingsFor(name));
    plugin->startAndSetCurrentValuesToDefaults(false);
    const auto limit = Clock::now() + std::chrono::seconds(20);
    while (plugin->attributeNames()->empty() || plugin->possibleValuesOfAttributeWithName(kOutput)->empty()) {
        if (Clock::now() > limit) std::abort();
        QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
    }
    const auto switcher = plugin->selectedDevice();
    BareClient bare(server.port());

    struct Contender {
        const char* name;
        std::function<void()> exchange;
        std::vector<double> rounds;
    };
    Contender contenders[] = {
        {"bare INPUTLABEL", [&] { bare.exchange("INPUTLABEL 1\n\r"); }, {}},
        {"switcher INPUTLABEL", [&] { switcher->inputLabelAtIndex(0); }, {}},
        {"bare SET", [&] { bare.exchange("SET 1 2\n\r"); }, {}},
        {"attribute set", [&] { plugin->setValueForAttributeWithName("0002 Input 2", kOutput); }, {}},
    };
    for (int round = 0; round < kRounds; ++round) {
        for (Contender& contender : contenders) {
            contender.rounds.push_back(microsecondsEach(contender.exchange));
        }
    }
    for (Contender& contender : contenders) {
        std::printf("%-20s %8.2f us\n", contender.name, median(contender.rounds));
    }
    std::printf("one exchange: %.2f times the bare one; one set: %.2f times\n",
                median(contenders[1].rounds) / median(contenders[0].rounds),
                median(contenders[3].rounds) / median(contenders[2].rounds));
    plugin->stop();
    return 0;
}
