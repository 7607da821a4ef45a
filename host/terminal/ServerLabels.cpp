#include "host/terminal/ServerLabels.h"

#include <poll.h>
#include <sys/socket.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <string_view>
#include <utility>

#include "host/Blanks.h"
#include "host/SettingsEdit.h"
#include "host/Waiting.h"
#include "host/terminal/SwitchSocket.h"
#include "platform/foundation/PropertyListXML.h"
#include "platform/foundation/Text.h"
#include "platform/network/NSNetService.h"
#include "platform/threads/Moment.h"

namespace velmora {

namespace {

constexpr std::string_view kTooMuch = "it says more than it was asked, so that nobody can tell which label is whose";

class Conversation {
  public:
    // The end of all its answers together.
    Conversation(Descriptor descriptor, Date end) : descriptor_(std::move(descriptor)), end_(end) {}

    // The line that answers, without its end.
    Result<std::string> ask(const std::string& question) {
        if (const auto asked = send(question); !asked) return asked.failure();
        std::size_t size = unread_.find('\n');
        while (size == std::string::npos) {
            if (unread_.size() > kMaximumReply) return Failure{"its answer to " + question + " does not end"};
            if (auto read = readMore(); !read)
                return Failure{"it did not answer " + question + ": " + read.failure().reason};
            size = unread_.find('\n');
        }
        std::string answer = unread_.substr(0, size);
        unread_.erase(0, size + 1);
        // Which of two lines is the answer, nobody can tell; a carriage return may follow the line feed.
        if (unread_.find_first_not_of('\r') != std::string::npos) return Failure{std::string(kTooMuch)};
        std::erase(answer, '\r');
        return answer;
    }

  private:
    Result<void> send(const std::string& question) {
        // What has come before the question is no answer to it.
        std::array<char, kMaximumReply> bytes;
        const ssize_t early = recv(descriptor_.number(), bytes.data(), bytes.size(), MSG_DONTWAIT);
        const std::string_view unasked(bytes.data(), static_cast<std::size_t>(std::max<ssize_t>(early, 0)));
        if (unasked.find_first_not_of('\r') != std::string_view::npos) return Failure{std::string(kTooMuch)};
        const std::string line = commandLine(question);
        const ssize_t sent = ::send(descriptor_.number(), line.data(), line.size(), MSG_NOSIGNAL);
        if (sent != static_cast<ssize_t>(line.size())) return Failure{"it does not take the question " + question};
        return {};
    }

    Result<void> readMore() {
        std::array<char, kMaximumReply> bytes;
        for (;;) {
            if (!waitFor(descriptor_, POLLIN, end_)) return Failure{"the time was over (--wait)"};
            const ssize_t count = recv(descriptor_.number(), bytes.data(), bytes.size(), 0);
            if (count < 0 && (errno == EAGAIN || errno == EINTR)) continue;
            if (count < 0) return failureOfSystem(errno);
            if (count == 0) return Failure{"it ended the connection"};
            unread_.append(bytes.data(), static_cast<std::size_t>(count));
            return {};
        }
    }

    const Descriptor descriptor_;
    const Date end_;
    std::string unread_;
};

}  // namespace

Result<ServerLabels> labelsOfServer(const std::string& server, const std::vector<std::int64_t>& outputs,
                                    std::chrono::milliseconds wait) {
    const Date end = fromNow(wait);
    NSNetService service("local.", kSwitchServiceType, server);
    service.resolveWithTimeout(Seconds(wait).count());
    waitUntil([&] { return !service.isBeingResolved(); }, wait);
    Result<Descriptor> descriptor = connectionTo(service.addresses(), end);
    if (!descriptor) return descriptor.failure();
    Conversation conversation(*std::move(descriptor), end);
    const auto size = conversation.ask("MATRIXSIZE");
    if (!size) return size.failure();
    const auto matrix = matrixSizeInText(*size);
    if (!matrix) return Failure{"it did not tell the size of its matrix"};
    ServerLabels answers{*matrix, {}};
    for (const std::int64_t output : outputs) {
        if (output >= static_cast<std::int64_t>(answers.size.outputs)) continue;
        const auto label = conversation.ask("OUTPUTLABEL " + std::to_string(output + 1));
        if (!label) return label.failure();
        if (!isValidUTF8(*label) || *label == kRefusalOfServer) continue;
        // As the plugin reads a reply, and as a settings file keeps it.
        const std::string kept = textInPropertyList(stringByTrimmingControlCharacters(*label));
        if (!isBlank(kept)) answers.labels.emplace(output, kept);
    }
    // Shows a line too many that came late.
    const auto again = conversation.ask("MATRIXSIZE");
    if (!again) return again.failure();
    if (*again != *size) return Failure{std::string(kTooMuch)};
    return answers;
}

}  // namespace velmora
