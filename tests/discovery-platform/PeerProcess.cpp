#include "tests/discovery-platform/PeerProcess.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <stdexcept>

namespace velmora::test {

PeerProcess::PeerProcess(const std::string& type, const std::string& name, std::uint16_t port) {
    int in[2];
    int out[2];
    if (pipe2(in, O_CLOEXEC) != 0 || pipe2(out, O_CLOEXEC) != 0) throw std::runtime_error("pipe");
    input_ = in[1];
    output_ = out[0];
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, in[0], STDIN_FILENO);
    posix_spawn_file_actions_adddup2(&actions, out[1], STDOUT_FILENO);
    std::string arguments[] = {DISCOVERY_PEER, type, name, std::to_string(port)};
    char* argv[] = {arguments[0].data(), arguments[1].data(), arguments[2].data(), arguments[3].data(), nullptr};
    const int error = posix_spawn(&process_, DISCOVERY_PEER, &actions, nullptr, argv, environ);
    posix_spawn_file_actions_destroy(&actions);
    ::close(in[0]);
    ::close(out[1]);
    if (error != 0) throw std::runtime_error("posix_spawn " DISCOVERY_PEER);

    const std::string expected = "published ";
    std::string said;
    pollfd readable{output_, POLLIN, 0};
    char buffer[256];
    // The name may hold newlines, the process says nothing else.
    while (said.size() <= expected.size() || said.back() != '\n') {
        if (poll(&readable, 1, 30'000) <= 0) return;
        const ssize_t count = ::read(output_, buffer, sizeof buffer);
        if (count <= 0) return;
        said.append(buffer, static_cast<std::size_t>(count));
    }
    if (said.starts_with(expected)) publishedName_ = said.substr(expected.size(), said.size() - expected.size() - 1);
}

void PeerProcess::end() {
    if (input_ >= 0) ::close(input_);
    input_ = -1;
    reap();
}

void PeerProcess::kill() {
    if (process_ > 0) ::kill(process_, SIGKILL);
    reap();
}

void PeerProcess::reap() {
    if (process_ > 0) waitpid(process_, nullptr, 0);
    process_ = -1;
    for (int* descriptor : {&input_, &output_}) {
        if (*descriptor >= 0) ::close(*descriptor);
        *descriptor = -1;
    }
}

}  // namespace velmora::test
