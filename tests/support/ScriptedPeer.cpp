#include "tests/support/ScriptedPeer.h"

#include <cerrno>
#include <stdexcept>

namespace velmora::test {

namespace {

std::string printable(const std::string& bytes) {
    constexpr std::size_t limit = 200;
    return testing::PrintToString(bytes.substr(0, limit)) + (bytes.size() > limit ? "..." : "");
}

void require(bool condition, const std::string& otherwise) {
    if (!condition) throw std::runtime_error(otherwise);
}

}  // namespace

PeerScript& PeerScript::add(Kind kind, std::string bytes) {
    steps_.push_back({kind, std::move(bytes)});
    return *this;
}

PeerScript& PeerScript::then(const PeerScript& other, std::size_t times) {
    for (std::size_t i = 0; i < times; ++i) {
        steps_.insert(steps_.end(), other.steps_.begin(), other.steps_.end());
    }
    return *this;
}

ScriptedPeer::ScriptedPeer(std::vector<PeerScript> scripts)
    : scripts_(std::move(scripts)), thread_([this] { serve(); }) {}

ScriptedPeer::~ScriptedPeer() {
    thread_.join();
    try {
        if (connection_) expectNothing(MSG_DONTWAIT);
        require(!failure_.empty() || !listener_.hasConnection(), "a connection more than the scripts know");
    } catch (const std::runtime_error& error) {
        failure_ = std::string("after the last step: ") + error.what();
    }
    if (!failure_.empty()) ADD_FAILURE() << "scripted peer, " << failure_;
}

void ScriptedPeer::serve() {
    for (std::size_t i = 0; i < scripts_.size(); ++i) {
        std::size_t step = 0;
        try {
            const int accepted = listener_.accept();
            require(accepted >= 0, "was never made");
            connection_.emplace(accepted);
            for (; step < scripts_[i].steps_.size(); ++step) {
                runStep(scripts_[i].steps_[step]);
            }
            if (connection_ && i + 1 < scripts_.size()) expectNothing(0);
        } catch (const std::runtime_error& error) {
            failure_ =
                "connection " + std::to_string(i + 1) + ", step " + std::to_string(step + 1) + ": " + error.what();
            connection_.reset();
            return;
        }
    }
}

void ScriptedPeer::runStep(const PeerScript::Step& step) {
    switch (step.kind) {
        case PeerScript::Kind::expect: {
            const std::string got = connection_->receive(step.bytes.size());
            return require(got == step.bytes, "got " + printable(got) + " for " + printable(step.bytes));
        }
        case PeerScript::Kind::send:
            return require(connection_->send(step.bytes), "cannot send " + printable(step.bytes));
        case PeerScript::Kind::waitForSignal:
            return require(signals_.try_acquire_for(limit), "the test gave no signal");
        case PeerScript::Kind::notifyTest:
            return notices_.release();
        case PeerScript::Kind::expectClose:
            expectNothing(0);
            return connection_.reset();
        case PeerScript::Kind::close:
            expectNothing(MSG_DONTWAIT);
            return connection_.reset();
    }
}

// With the flag for not waiting, the connection need not have ended.
void ScriptedPeer::expectNothing(int flags) {
    std::string rest(4096, '\0');
    const ssize_t count = ::recv(connection_->descriptor(), rest.data(), rest.size(), flags);
    rest.resize(static_cast<std::size_t>(std::max<ssize_t>(0, count)));
    require(rest.empty(), "unexpected " + printable(rest));
    require(count == 0 || errno != EAGAIN || flags != 0, "the other side did not end the connection");
}

}  // namespace velmora::test
