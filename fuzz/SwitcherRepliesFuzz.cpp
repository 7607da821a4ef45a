// How the switcher reads replies: its size, routes and labels.
//
// The input is an index in digits, then the replies, each after a "|". The questions take turns.
#include <algorithm>
#include <charconv>
#include <deque>
#include <thread>

#include "discovery/ServerInfo.h"
#include "fuzz/AnnouncedService.h"
#include "fuzz/Fuzz.h"
#include "platform/threads/ThreadAnnotations.h"
#include "switcher/TCPMatrixSwitcher.h"

namespace velmora::fuzz {
namespace {

// Answers each line with the next reply and a line end, on a thread of its own.
class Server {
  public:
    std::uint16_t port() const { return peer_.port(); }
    void start() {
        std::thread([this] { serve(); }).detach();
    }
    void expect(std::string line, std::string reply) {
        MutexLock lock(mutex_);
        exchanges_.emplace_back(std::move(line), std::move(reply));
    }

  private:
    void serve() {
        peer_.accept();
        for (;;) {
            const std::string line = peer_.receiveLine();
            if (line.empty()) return;
            MutexLock lock(mutex_);
            require(!exchanges_.empty() && exchanges_.front().first == line, "the switcher asks what it should");
            peer_.send(exchanges_.front().second + "\r\n");
            exchanges_.pop_front();
        }
    }

    FarEnd peer_;
    Mutex mutex_;
    std::deque<std::pair<std::string, std::string>> exchanges_ GUARDED_BY(mutex_);
};

// The connection of the whole run.
class Session final : private TCPMatrixSwitcherDelegate {
  public:
    Session() {
        server_.start();
        server_.expect("MATRIXSIZE", "16x8");
        switcher->setDelegate(this);
        serverInfo_->setServerName(service_.name());
        serverInfo_->setNetService(service_.found());
        require(switcher->openPort(service_.name()), "the server is known");
        runMainLoopUntil([this] { return dimensionsKnown_; });
    }

    void ask(std::string line, std::string reply) { server_.expect(std::move(line), std::move(reply)); }

    const std::shared_ptr<TCPMatrixSwitcher> switcher = std::make_shared<TCPMatrixSwitcher>();

  private:
    std::int32_t indexOfServerForName(const std::string&) const override { return 0; }
    const std::vector<std::shared_ptr<ServerInfo>>& serversArray() const override { return servers_; }
    void matrixDimensionsChangedTo(MatrixSwitcher&, NSSize size) override {
        require(size == NSSize{16, 8}, "the first size is told");
        dimensionsKnown_ = true;
    }

    Server server_;
    const AnnouncedService service_{server_.port()};
    const std::shared_ptr<ServerInfo> serverInfo_ = std::make_shared<ServerInfo>();
    const std::vector<std::shared_ptr<ServerInfo>> servers_{serverInfo_};
    bool dimensionsKnown_ = false;
};

// The number, if the text is only a number, and a small one.
std::optional<int> plainNumber(std::string_view text) {
    int number = 0;
    if (text.empty() || text.size() > 6 ||
        !std::all_of(text.begin(), text.end(), [](char c) { return c >= '0' && c <= '9'; }))
        return std::nullopt;
    std::from_chars(text.data(), text.data() + text.size(), number);
    return number;
}

void checkSize(Session& session, const std::string& reply) {
    const NSSize before{static_cast<double>(session.switcher->numberOfInputs()),
                        static_cast<double>(session.switcher->numberOfOutputs())};
    session.ask("MATRIXSIZE", reply);
    const NSSize size = session.switcher->getMatrixDimensions();
    for (const double number : {size.width, size.height})
        require(number >= 0 && number <= kMatrixSizeLimit, "a size is within its limits");
    require(size.width == static_cast<double>(session.switcher->numberOfInputs()) &&
                size.height == static_cast<double>(session.switcher->numberOfOutputs()),
            "the size is kept");
    if (!isValidUTF8(reply) || std::count(reply.begin(), reply.end(), 'x') != 1) {
        require(size == before, "what is no size changes nothing");
        return;
    }
    const std::size_t cross = reply.find('x');
    const auto inputs = plainNumber(std::string_view(reply).substr(0, cross));
    const auto outputs = plainNumber(std::string_view(reply).substr(cross + 1));
    if (!inputs || !outputs) return;
    const bool fits = *inputs <= kMatrixSizeLimit && *outputs <= kMatrixSizeLimit;
    require(size == (fits ? NSSize{static_cast<double>(*inputs), static_cast<double>(*outputs)} : before),
            "a plain size is understood");
}

void checkRoute(Session& session, std::int32_t index, const std::string& reply) {
    session.ask("REFRESH", reply);
    session.ask("GET " + std::to_string(std::int64_t{index} + 1), reply);
    const std::int64_t input = session.switcher->selectedInputForOutput(index);
    if (!isValidUTF8(reply) || std::count(reply.begin(), reply.end(), ' ') != 1) {
        require(input == 0, "what is no route reads as the first input");
    } else if (const auto number = plainNumber(std::string_view(reply).substr(reply.find(' ') + 1))) {
        require(input == *number - 1, "a plain route is understood");
    }
}

void checkLabel(Session& session, const char* command, std::int32_t index, const std::string& reply,
                std::optional<std::string> (TCPMatrixSwitcher::*label)(std::int32_t)) {
    // Counting wraps: the lowest number follows the highest.
    const auto number = static_cast<std::int32_t>(static_cast<std::uint32_t>(index) + 1U);
    session.ask(command + std::to_string(number), reply);
    const auto text = (*session.switcher.*label)(index);
    require(text.has_value() == isValidUTF8(reply), "a label is a text when its bytes are UTF-8");
    require(!text || *text == stringByTrimmingControlCharacters(reply), "a label is what the server calls it");
}

}  // namespace
}  // namespace velmora::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace velmora;
    static auto* const session = new fuzz::Session;
    const auto pieces = componentsSeparatedByString(fuzz::asText(data, size), "|");
    const std::int32_t index = intValue(pieces.front());
    for (std::size_t i = 1; i < std::min<std::size_t>(pieces.size(), 13); ++i) {
        // A longer reply would not arrive in one read.
        const std::string reply = pieces[i].substr(0, 2000);
        if (i % 4 == 1) fuzz::checkSize(*session, reply);
        if (i % 4 == 2) fuzz::checkRoute(*session, index, reply);
        if (i % 4 == 3) fuzz::checkLabel(*session, "INPUTLABEL ", index, reply, &TCPMatrixSwitcher::inputLabelAtIndex);
        if (i % 4 == 0)
            fuzz::checkLabel(*session, "OUTPUTLABEL ", index, reply, &TCPMatrixSwitcher::outputLabelAtIndex);
        fuzz::require(session->switcher->isConnected(), "no reply ends the connection");
    }
    return 0;
}
