#include "platform/network/dnssd/ProgramBackend.h"

#include <avahi-common/address.h>
#include <avahi-common/domain.h>
#include <avahi-common/error.h>
#include <dlfcn.h>
#include <sys/socket.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <utility>

namespace velmora {

namespace {

// Bytes that wait for the program: beyond the first no question is taken on, beyond the second it counts as hanging.
constexpr std::size_t kWaitingForQuestions = 1024 * 1024;
constexpr std::size_t kMaximumWaiting = 16 * 1024 * 1024;
// Messages of the program that are taken in one turn of the loop, which has others to serve.
constexpr int kFramesAtOnce = 256;
// The program is asked each time after this whether it lives, and may owe this many answers.
constexpr Seconds kBeat{2};
constexpr int kMaximumUnanswered = 2;

// Of the library that this is in. Found out when it is loaded, because it may have been loaded by a relative path,
// which leads elsewhere once the host has changed its folder. Empty when that fails.
const std::filesystem::path kFolderOfLibrary = [] {
    Dl_info library{};
    std::error_code fault;
    if (dladdr(reinterpret_cast<const void*>(&ProgramBackend::create), &library) == 0) return std::filesystem::path();
    return std::filesystem::canonical(library.dli_fname, fault).parent_path();
}();

}  // namespace

class ProgramBackend::Query final : public RecordQuery {
  public:
    Query(ProgramBackend& backend, std::uint16_t recordType, RecordHandler recordHandler)
        : type(recordType), handler(std::move(recordHandler)), backend_(backend), id_(++backend.lastId_) {
        backend_.asked_.emplace(id_, this);
    }
    ~Query() override {
        backend_.asked_.erase(id_);
        backend_.send({.kind = MdnsFrame::Kind::endAsk, .id = id_, .texts = {}});
    }

    const std::uint16_t type;
    const RecordHandler handler;

  private:
    ProgramBackend& backend_;
    const std::uint64_t id_;
};

class ProgramBackend::Group final : public EntryGroup {
  public:
    Group(ProgramBackend& backend, EntryGroupHandler groupHandler)
        : handler(std::move(groupHandler)), backend_(backend), id_(++backend.lastId_) {
        backend_.groups_.emplace(id_, this);
    }
    ~Group() override {
        backend_.groups_.erase(id_);
        backend_.send({.kind = MdnsFrame::Kind::withdraw, .id = id_, .texts = {}});
    }
    int announce(const ServiceKey& key, std::uint16_t port) override {
        backend_.send({MdnsFrame::Kind::announce, id_, {port, 0, 0}, {key.name, key.type, key.domain}});
        return 0;
    }

    const EntryGroupHandler handler;

  private:
    ProgramBackend& backend_;
    const std::uint64_t id_;
};

Result<std::unique_ptr<ProgramBackend>> ProgramBackend::create(DiscoveryLoop& loop,
                                                               const std::vector<std::string>& interfaces,
                                                               bool publishing, std::function<void()> changed) {
    if (kFolderOfLibrary.empty()) return Failure{"the folder of the platform library is not known"};
    // In the build tree as where it is installed or moved to: never where the PATH or the current folder lead.
    auto program = ChildProgram::start(kFolderOfLibrary / "velmora" / "velmora-mdns");
    if (!program) return program.failure();
    auto backend =
        std::make_unique<ProgramBackend>(loop, *std::move(program), interfaces, publishing, std::move(changed));
    if (backend->hasFailed()) return Failure{backend->lastError()};
    return backend;
}

ProgramBackend::ProgramBackend(DiscoveryLoop& loop, ChildProgram program, const std::vector<std::string>& interfaces,
                               bool publishing, std::function<void()> changed)
    : loop_(loop),
      publishing_(publishing),
      changed_(std::move(changed)),
      program_(std::move(program)),
      nextBeat_(loop) {
    const auto happened = [](AvahiWatch*, int, AvahiWatchEvent event, void* self) {
        static_cast<ProgramBackend*>(self)->eventHappened(event);
    };
    watch_ = loop.poll()->watch_new(loop.poll(), program_.socket(), AVAHI_WATCH_IN, happened, this);
    if (watch_ == nullptr) {
        fail("there is no memory for another connection");
        return;
    }
    send({MdnsFrame::Kind::start, 0, {kMdnsFrameVersion, publishing ? 1 : 0, 0}, interfaces});
    nextBeat_.set(fromNow(kBeat), [this] { beat(); });
}

ProgramBackend::~ProgramBackend() {
    if (watch_ != nullptr) loop_.poll()->watch_free(watch_);
}

std::unique_ptr<RecordQuery> ProgramBackend::query(const std::string& name, std::uint16_t type, RecordHandler handler) {
    if (failed_) return nullptr;
    if (avahi_is_valid_domain_name(name.c_str()) == 0) {
        error_ = avahi_strerror(AVAHI_ERR_INVALID_DOMAIN_NAME);
        return nullptr;
    }
    if (waitingBytes_ > kWaitingForQuestions) {
        error_ = "velmora-mdns is busy";
        return nullptr;
    }
    auto query = std::make_unique<Query>(*this, type, std::move(handler));
    send({MdnsFrame::Kind::ask, lastId_, {type, 0, 0}, {name}});
    return query;
}

std::unique_ptr<EntryGroup> ProgramBackend::makeEntryGroup(EntryGroupHandler handler) {
    return std::make_unique<Group>(*this, std::move(handler));
}

void ProgramBackend::eventHappened(AvahiWatchEvent event) {
    if ((event & AVAHI_WATCH_OUT) != 0) sendWaiting();
    if ((event & ~AVAHI_WATCH_OUT) != 0) readFrames();
}

void ProgramBackend::readFrames() {
    // One more, so that what is too long is seen to be.
    std::array<std::uint8_t, kMaximumMdnsFrame + 1> bytes;
    for (int i = 0; i < kFramesAtOnce && !failed_; ++i) {
        const ssize_t size = recv(program_.socket(), bytes.data(), bytes.size(), MSG_DONTWAIT);
        if (size < 0 && errno == EINTR) continue;
        if (size < 0 && errno == EAGAIN) return;
        if (size <= 0) return fail("velmora-mdns has ended unexpectedly");
        unansweredPings_ = 0;
        const auto frame = decodeMdnsFrame(std::span(bytes).first(static_cast<std::size_t>(size)));
        if (!frame || !heard(*frame)) return fail("velmora-mdns has sent what makes no sense");
    }
}

bool ProgramBackend::heard(const MdnsFrame& frame) {
    switch (frame.kind) {
        case MdnsFrame::Kind::serverState:
            return heardServerState(frame);
        case MdnsFrame::Kind::record:
            return heardRecord(frame);
        case MdnsFrame::Kind::groupState:
            return heardGroupState(frame);
        case MdnsFrame::Kind::pong:
            return true;  // as every word, a sign of life
        default:
            return false;
    }
}

bool ProgramBackend::heardServerState(const MdnsFrame& frame) {
    const auto [state, error, unused] = frame.numbers;
    if (state <= AVAHI_SERVER_INVALID || state > AVAHI_SERVER_FAILURE) return false;
    if (error > AVAHI_OK || error <= AVAHI_ERR_MAX) return false;
    if (state == AVAHI_SERVER_FAILURE) {
        declined_ = true;
        fail(std::string("velmora-mdns: ") + avahi_strerror(error));
    } else {
        state_ = static_cast<AvahiServerState>(state);
        changed_();
    }
    return true;
}

bool ProgramBackend::heardRecord(const MdnsFrame& frame) {
    const auto [event, interface, protocol] = frame.numbers;
    if (event < static_cast<std::int32_t>(RecordEvent::came) || event > static_cast<std::int32_t>(RecordEvent::renewed))
        return false;
    if (interface < 0 || (protocol != AVAHI_PROTO_INET && protocol != AVAHI_PROTO_INET6)) return false;
    if (frame.id > lastId_ || frame.texts.size() != 1) return false;
    const auto found = asked_.find(frame.id);
    if (found == asked_.end()) return true;  // taken back meanwhile
    const std::string& text = frame.texts.front();
    const auto record = networkRecord(interface, protocol, found->second->type,
                                      {reinterpret_cast<const std::uint8_t*>(text.data()), text.size()});
    if (!record) return true;
    const RecordHandler handler = found->second->handler;  // held, because it may make and end questions
    handler(*record, static_cast<RecordEvent>(event));
    return true;
}

bool ProgramBackend::heardGroupState(const MdnsFrame& frame) {
    const int state = frame.numbers[0];
    if (state < AVAHI_ENTRY_GROUP_UNCOMMITED || state > AVAHI_ENTRY_GROUP_FAILURE) return false;
    if (frame.id > lastId_) return false;
    const auto found = groups_.find(frame.id);
    if (found == groups_.end()) return true;
    const EntryGroupHandler handler = found->second->handler;
    handler(static_cast<AvahiEntryGroupState>(state));
    return true;
}

void ProgramBackend::send(const MdnsFrame& frame) {
    if (failed_) return;
    auto bytes = encodeMdnsFrame(frame);
    if (!bytes) return fail("velmora-mdns cannot be told so much at once");
    waitingBytes_ += bytes->size();
    waiting_.push_back(std::move(*bytes));
    if (waitingBytes_ > kMaximumWaiting) return fail("velmora-mdns takes nothing any more");
    if (waiting_.size() == 1) sendWaiting();
}

void ProgramBackend::sendWaiting() {
    while (!waiting_.empty()) {
        const std::string& bytes = waiting_.front();
        const ssize_t sent = ::send(program_.socket(), bytes.data(), bytes.size(), MSG_DONTWAIT | MSG_NOSIGNAL);
        if (sent < 0 && errno == EINTR) continue;
        if (sent < 0 && (errno == EAGAIN || errno == ENOBUFS)) break;
        waitingBytes_ -= bytes.size();
        waiting_.pop_front();
        // When the program has ended, reading tells, after what it had to say.
    }
    const auto events = waiting_.empty() ? AVAHI_WATCH_IN : AVAHI_WATCH_IN | AVAHI_WATCH_OUT;
    loop_.poll()->watch_update(watch_, static_cast<AvahiWatchEvent>(events));
}

// A program that neither ends nor answers is none. Answers that have arrived while this process stood still are read
// first, and one answer that is late decides nothing.
void ProgramBackend::beat() {
    readFrames();
    if (failed_) return;
    if (unansweredPings_ >= kMaximumUnanswered) return fail("velmora-mdns does not answer");
    ++unansweredPings_;
    send({.kind = MdnsFrame::Kind::ping, .texts = {}});
    nextBeat_.set(fromNow(kBeat), [this] { beat(); });
}

void ProgramBackend::fail(std::string reason) {
    failed_ = true;
    error_ = std::move(reason);
    program_.kill();
    nextBeat_.cancel();
    if (watch_ != nullptr) loop_.poll()->watch_free(std::exchange(watch_, nullptr));
    changed_();
}

}  // namespace velmora
