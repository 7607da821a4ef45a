#include "bench/ServerProcess.h"

#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>

extern char** environ;

namespace velmora::bench {

namespace {

[[noreturn]] void giveUp(const std::string& why) {
    std::fprintf(stderr, "bench: %s\n", why.c_str());
    std::exit(1);
}

std::string readLine(int descriptor) {
    std::string line;
    char byte = 0;
    while (read(descriptor, &byte, 1) == 1 && byte != '\n') {
        line += byte;
    }
    return line;
}

}  // namespace

ServerProcess::ServerProcess(const std::string& program, std::vector<std::string> arguments, bool waitForAnnouncement) {
    int ends[2];
    if (pipe(ends) != 0) giveUp("no pipe to be had");
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, ends[1], STDOUT_FILENO);
    posix_spawn_file_actions_addclose(&actions, ends[0]);
    arguments.insert(arguments.begin(), program);
    std::vector<char*> raw;
    for (std::string& argument : arguments) {
        raw.push_back(argument.data());
    }
    raw.push_back(nullptr);
    const int failed = posix_spawn(&process_, program.c_str(), &actions, nullptr, raw.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    close(ends[1]);
    if (failed != 0) giveUp("cannot start " + program);
    const std::string line = readLine(ends[0]);
    const auto colon = line.rfind(':');
    if (colon == std::string::npos) giveUp("the server said \"" + line + "\"");
    port_ = static_cast<std::uint16_t>(std::atoi(line.c_str() + colon + 1));
    if (waitForAnnouncement) readLine(ends[0]);
    close(ends[0]);
}

ServerProcess::~ServerProcess() {
    kill(process_, SIGTERM);
    int status = 0;
    waitpid(process_, &status, 0);
}

}  // namespace velmora::bench
