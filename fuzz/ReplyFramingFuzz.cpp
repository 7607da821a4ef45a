// The framing and decoding of replies on a real connection, however the bytes are cut.
//
// The low bits of the first byte say, in turn, which commands expect XML; its top bit says whether a command is sent
// before or after each chunk. The chunks follow, separated by "|".
#include <algorithm>
#include <thread>

#include "fuzz/Fuzz.h"
#include "platform/threads/NSRunLoop.h"
#include "transport/SwitchTelnetController.h"

namespace velmora::fuzz {
namespace {

constexpr double kPatience = 5.0;  // seconds
constexpr std::size_t kLongestRead = 2048;
constexpr std::string_view kBeginning = "<?xml ver";
constexpr std::string_view kEnd = "</plist>\n";

// Too few bytes to tell count as framed. The marks are searched for in the first nine and the last twelve bytes.
bool isFramed(std::string_view data) {
    const auto tail = data.size() < 13 ? kEnd : data.substr(data.size() - 12);
    return (data.size() < 10 || data.starts_with(kBeginning)) && isValidUTF8(tail) &&
           tail.find(kEnd) != std::string_view::npos;
}

bool isVisible(char byte) {
    return byte > ' ' && byte < '\x7F';
}

void checkResponse(const std::string& data, const std::optional<std::string>& response) {
    require(response.has_value() == isValidUTF8(data), "a reply is a text when its bytes are UTF-8");
    if (!response) return;
    const std::size_t at = data.find(*response);
    require(at != std::string::npos, "a reply is part of what has arrived");
    require(stringByTrimmingControlCharacters(*response) == *response, "a reply has no control characters around it");
    require(response->empty() || stringByTrimmingControlCharacters(data) == *response, "nothing else is cut off");
    require(!response->empty() || std::none_of(data.begin(), data.end(), isVisible), "no visible reply is lost");
}

// The connection of the whole run. The communications thread is the connection's own; this thread is client and peer.
class Connection {
  public:
    Connection() {
        controller_->startConnectionWithHostAddressPort("127.0.0.1", peer_.port());
        peer_.accept();
        const Date deadline = fromNow(Seconds(kPatience));
        while (!controller_->isConnected()) {
            require(std::chrono::steady_clock::now() < deadline, "the connection is made");
            std::this_thread::yield();
        }
    }

    void run(std::uint8_t kinds, const std::vector<std::string>& chunks) {
        kinds_ = kinds;
        arrived_.clear();
        taken_ = 0;
        for (const std::string& chunk : chunks) {
            if (chunk.empty()) continue;
            if (kinds & 0x80 && command_ == nullptr) sendCommand();
            arrived_ += chunk;
            peer_.send(chunk);
            takeEverything();
        }
        abandonCommand();
    }

  private:
    void sendCommand() {
        command_ = std::make_shared<SwitchTelnetCommand>();
        command_->setCommand("COMMAND");
        command_->setRequiresXMLResponse(kinds_ & 1U);
        kinds_ = static_cast<std::uint8_t>((kinds_ & 0x80U) | (kinds_ & 0x7FU) >> 1U | (kinds_ & 1U) << 6U);
        controller_->addNewCommand(command_);
        require(peer_.receiveLine() == "COMMAND", "a command line goes out as it is");
    }

    // Sends commands until every byte has become part of a reply: nothing is lost, doubled or out of order.
    void takeEverything() {
        const Date deadline = fromNow(Seconds(kPatience));
        while (command_ != nullptr || taken_ < arrived_.size()) {
            if (command_ == nullptr) sendCommand();
            std::string data;
            bool answered = false;
            onItsThread([&] {
                answered = command_->hasResponse();
                data = *command_->responseData();
            });
            require(arrived_.compare(taken_, data.size(), data) == 0, "a reply is what has arrived, in order");
            if (answered) {
                checkReply(data);
                taken_ += data.size();
                command_ = nullptr;
            } else if (taken_ + data.size() == arrived_.size() && !data.empty()) {
                require(command_->requiresXMLResponse() && !isFramed(data), "a whole reply is given to its client");
                return;
            }
            require(controller_->isConnected(), "no reply of this size ends the connection");
            require(std::chrono::steady_clock::now() < deadline, "every byte is read");
        }
    }

    void checkReply(const std::string& data) const {
        require(!data.empty(), "a reply has bytes");
        require(command_->requiresXMLResponse() ? isFramed(data) : data.size() <= kLongestRead, "a reply is framed");
        checkResponse(data, command_->responseString());
    }

    // The next input begins with nothing in flight.
    void abandonCommand() {
        if (command_ == nullptr) return;
        onItsThread([&] {
            controller_->setCurrentTelnetCommand(nullptr);
            controller_->unlockMutex();
        });
        command_ = nullptr;
    }

    void onItsThread(const NSRunLoop::Work& work) const {
        const auto handing = controller_->runLoop()->performAndWait(work, fromNow(Seconds(kPatience)));
        require(handing == NSRunLoop::Performed::yes, "the communications thread runs");
    }

    FarEnd peer_;
    const std::shared_ptr<SwitchTelnetController> controller_ = std::make_shared<SwitchTelnetController>();
    std::shared_ptr<SwitchTelnetCommand> command_;
    std::uint8_t kinds_ = 0;
    std::string arrived_;
    std::size_t taken_ = 0;  // bytes of complete replies
};

}  // namespace
}  // namespace velmora::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace velmora;
    static auto* const connection = new fuzz::Connection;
    if (size == 0) return 0;
    auto chunks = componentsSeparatedByString(fuzz::asText(data + 1, size - 1), "|");
    chunks.resize(std::min<std::size_t>(chunks.size(), 32));
    connection->run(data[0], chunks);
    return 0;
}
