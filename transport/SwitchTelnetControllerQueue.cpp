// Commands and replies: the queue, the command in flight, and the bytes of lines and replies. The connection is in
// SwitchTelnetController.cpp.
#include <algorithm>
#include <array>
#include <charconv>
#include <utility>

#include "platform/foundation/NSLog.h"
#include "transport/SwitchTelnetController.h"

namespace velmora {

namespace {

// Line feed before carriage return is intended; the servers expect it so.
constexpr const char* kLineFormat = "%@\n\r";
constexpr std::size_t kReadSize = 2048;
constexpr std::string_view kXMLBeginning = "<?xml ver";
constexpr std::string_view kXMLTermination = "</plist>\n";
// How many of the last bytes may hold the termination.
constexpr std::size_t kXMLTailSize = 12;

bool hasText(std::string_view bytes, std::string_view text) {
    return isValidUTF8(bytes) && bytes.find(text) != std::string_view::npos;
}

// The thresholds are one more than the texts say, and too short a buffer counts as framed. Both are intended.
bool beginsLikeXML(const std::string& data) {
    if (data.size() < 10) {
        NSLog("error dataBuffer length < 9: %@", stringWithUTF8Bytes(data));
        return true;
    }
    return hasText(std::string_view(data).substr(0, kXMLBeginning.size()), kXMLBeginning);
}

bool endsLikeXML(const std::string& data) {
    if (data.size() < 13) {
        NSLog("error dataBuffer length < 12: %@", stringWithUTF8Bytes(data));
        return true;
    }
    return hasText(std::string_view(data).substr(data.size() - kXMLTailSize), kXMLTermination);
}

std::string durationText(Seconds duration) {
    std::array<char, 32> digits;
    const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), duration.count()).ptr;
    return std::string(digits.data(), end) + " s";
}

// The stream waits for space, and swallows the bytes once the connection has failed.
void writeAll(NSOutputStream& output, std::span<const std::uint8_t> data) {
    auto count = static_cast<std::int32_t>(data.size());
    const std::uint8_t* position = data.data();
    while (count > 0) {
        const auto written = static_cast<std::int32_t>(output.write({position, static_cast<std::size_t>(count)}));
        count -= written;
        position += written;
    }
}

}  // namespace

std::shared_ptr<SwitchTelnetCommand> SwitchTelnetController::currentTelnetCommand() const {
    MutexLock lock(stateMutex_);
    return currentTelnetCommand_;
}

void SwitchTelnetController::setCurrentTelnetCommand(std::shared_ptr<SwitchTelnetCommand> command) {
    MutexLock lock(stateMutex_);
    currentTelnetCommand_.swap(command);
}

std::vector<std::shared_ptr<SwitchTelnetCommand>> SwitchTelnetController::telnetCommands() const {
    MutexLock lock(stateMutex_);
    return telnetCommands_;
}

void SwitchTelnetController::setTelnetCommands(std::vector<std::shared_ptr<SwitchTelnetCommand>> commands) {
    MutexLock lock(stateMutex_);
    telnetCommands_.swap(commands);
}

bool SwitchTelnetController::hasOpenStream() const {
    MutexLock lock(stateMutex_);
    return streams_.output != nullptr && !closing_;
}

void SwitchTelnetController::processCommandSynchronously(const std::shared_ptr<SwitchTelnetCommand>& command) {
    std::shared_ptr<NSThread> thread;
    {
        MutexLock lock(stateMutex_);
        if (streams_.output == nullptr) return;
        thread = communicationsThread_;
    }
    // The reply's time counts from here, so it includes the command's way to the communications thread.
    const Date deadline = fromNow(limits_.reply);
    const auto added = thread->runLoop()->performAndWait(
        [self = self(), command] {
            // Looked at again on this thread: the connection may have gone since the client looked.
            if (self->hasOpenStream()) self->addNewCommand(command);
        },
        deadline);
    if (added == NSRunLoop::Performed::loopEnded) return;
    // The signal is free at once when the reply has come already, or when the command was not queued.
    const bool lockObtained = added == NSRunLoop::Performed::yes && communicationsThreadMutex.lockBeforeDate(deadline);
    if (deadline > std::chrono::steady_clock::now()) {
        if (lockObtained) communicationsThreadMutex.unlock();
        return;
    }
    if (lockObtained) releaseWaitingClients(thread);
    NSLog("NSStreamEventEndEncountered because of a timeout");
    const auto time = durationText(limits_.reply);
    closeStreams(TelnetConnectionEnd::Cause::timeOut,
                 command->wasSent()
                     ? stringWithFormat("The server did not answer %@ within %@", quotedText(command->command()), time)
                     : stringWithFormat("The connection was not made within %@", time));
}

void SwitchTelnetController::addNewCommand(const std::shared_ptr<SwitchTelnetCommand>& command) {
    // Taken on every call, whether or not the command is then queued, and given back by a reply. A thread that is
    // cancelled while it waits here queues nothing.
    if (!communicationsThreadMutex.lock()) return;
    MutexLock lock(stateMutex_);
    enqueue(command);
    if (streams_.output == nullptr || !streams_.output->hasSpaceAvailable()) return;
    const auto line = takeNextLine();
    lock.unlock();
    if (line) write(*line);
}

void SwitchTelnetController::enqueue(const std::shared_ptr<SwitchTelnetCommand>& command) {
    const std::string text = command->command();
    const bool duplicate = std::any_of(telnetCommands_.begin(), telnetCommands_.end(),
                                       [&text](const auto& queued) { return queued->command() == text; });
    if (duplicate) return;
    if (telnetCommands_.empty()) {
        telnetCommands_.push_back(command);
        return;
    }
    // Without a command of lower priority to stand before, the new one is dropped. That is intended, and so is the
    // unsigned comparison.
    const auto priority = static_cast<std::uint32_t>(command->priority());
    const auto lower = std::find_if(telnetCommands_.begin(), telnetCommands_.end(), [priority](const auto& queued) {
        return static_cast<std::uint32_t>(queued->priority()) < priority;
    });
    if (lower != telnetCommands_.end()) telnetCommands_.insert(lower, command);
}

std::shared_ptr<SwitchTelnetCommand> SwitchTelnetController::nextCommand() {
    MutexLock lock(stateMutex_);
    return takeNextCommand();
}

std::shared_ptr<SwitchTelnetCommand> SwitchTelnetController::takeNextCommand() {
    if (telnetCommands_.empty()) return nullptr;
    auto command = std::move(telnetCommands_.front());
    telnetCommands_.erase(telnetCommands_.begin());
    return command;
}

std::optional<SwitchTelnetController::Line> SwitchTelnetController::takeNextLine() {
    if (closing_ || currentTelnetCommand_ != nullptr || telnetCommands_.empty()) return std::nullopt;
    currentTelnetCommand_ = takeNextCommand();
    currentTelnetCommand_->setWasSent(true);
    return Line{stringWithFormat(kLineFormat, currentTelnetCommand_->command()), streams_.output, runLoop()};
}

void SwitchTelnetController::sendNextCommand() {
    std::optional<Line> line;
    {
        MutexLock lock(stateMutex_);
        line = takeNextLine();
    }
    // Dropped without space, while the command stays in flight and its client waits until the time-out. That is
    // intended.
    if (line && line->output != nullptr && line->output->hasSpaceAvailable()) write(*line);
}

void SwitchTelnetController::write(const Line& line) {
    writeAll(*line.output, {reinterpret_cast<const std::uint8_t*>(line.text.data()), line.text.size()});
    // Bytes that were left unread may be wanted now; a client that sends on its own thread makes the communications
    // thread look.
    if (line.loop != nullptr && NSRunLoop::currentRunLoop() != line.loop) line.loop->perform([] {});
}

void SwitchTelnetController::sendData(std::span<const std::uint8_t> data) {
    const auto output = streams().output;
    if (output != nullptr && output->hasSpaceAvailable()) writeAll(*output, data);
}

void SwitchTelnetController::bytesAvailable(NSInputStream& stream) {
    const auto command = currentTelnetCommand();
    if (command == nullptr) return;  // the bytes stay in the stream
    std::array<std::uint8_t, kReadSize> buffer;
    const auto count = static_cast<std::int32_t>(stream.read(buffer));
    if (count <= 0) {
        NSLog("NSStreamEventHasBytesAvailable but with ZERO bytes");
        setCurrentTelnetCommand(nullptr);
        giveSignalBack();
        return;
    }
    Reply reply = Reply::incomplete;
    {
        MutexLock lock(stateMutex_);
        // A client that has given up meanwhile reads its command without expecting it to change.
        if (currentTelnetCommand_ != command) return;
        reply = addToReply({reinterpret_cast<const char*>(buffer.data()), static_cast<std::size_t>(count)});
    }
    if (reply == Reply::complete) giveSignalBack();
    if (reply != Reply::tooLong) return;
    NSLog("Reply of more than %li bytes", kResponseByteLimit);
    closeStreams(TelnetConnectionEnd::Cause::failure,
                 stringWithFormat("The server's reply has more than %li bytes", kResponseByteLimit));
}

SwitchTelnetController::Reply SwitchTelnetController::addToReply(std::string_view bytes) {
    SwitchTelnetCommand& command = *currentTelnetCommand_;
    const ResponseData data = command.responseData();
    data->append(bytes);
    if (command.requiresXMLResponse() && !(beginsLikeXML(*data) && endsLikeXML(*data))) {
        return data->size() > kResponseByteLimit ? Reply::tooLong : Reply::incomplete;
    }
    auto response = stringWithUTF8Bytes(*data);
    if (response) response = stringByTrimmingControlCharacters(*response);
    command.setResponseString(std::move(response));
    command.setHasResponse(true);
    currentTelnetCommand_ = nullptr;
    return Reply::complete;
}

// Leaves the signal free, whoever holds it.
void SwitchTelnetController::giveSignalBack() {
    communicationsThreadMutex.tryLock();
    communicationsThreadMutex.unlock();
}

bool SwitchTelnetController::checkForXMLPLISTBeginning() const {
    const auto command = currentTelnetCommand();
    return command != nullptr && beginsLikeXML(*command->responseData());
}

bool SwitchTelnetController::checkForXMLPLISTTermination() const {
    const auto command = currentTelnetCommand();
    return command != nullptr && endsLikeXML(*command->responseData());
}

bool SwitchTelnetController::XMLReceivedCompletely() const {
    return checkForXMLPLISTBeginning() && checkForXMLPLISTTermination();
}

}  // namespace velmora
