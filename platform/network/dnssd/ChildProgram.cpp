#include "platform/network/dnssd/ChildProgram.h"

#include <fcntl.h>
#include <poll.h>
#include <sched.h>
#include <spawn.h>
#include <sys/mman.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <utility>

#include "platform/network/dnssd/MdnsFrame.h"

// This header of the C library does not say so itself.
extern "C" {
#include <sys/pidfd.h>
}

// The same function under a name that the thread sanitizer does not intercept: it takes every clone for a fork, and
// would have the helper free locks that are those of this process.
// NOLINTNEXTLINE(bugprone-reserved-identifier): the C library's own name
extern "C" int __clone(int (*function)(void*), void* stack, int flags, void* argument, ...);

namespace velmora {

namespace {

// Sanitizers have something to say, and are told how by the environment.
#if defined(VELMORA_SANITIZED)
constexpr int kSilenced = 2;
char** environmentOfProgram() {
    return environ;
}
#else
constexpr int kSilenced = 3;
char** environmentOfProgram() {
    static std::array<char*, 1> none = {nullptr};
    return none.data();
}
#endif

// Everything that the helper needs is made ready before, so that it does as little as possible.
class Launch {
  public:
    Launch(const char* path, int socket) : path_(path) {
        posix_spawnattr_init(&attributes_);
        sigset_t all;
        sigset_t none;
        sigfillset(&all);
        sigemptyset(&none);
        posix_spawnattr_setsigdefault(&attributes_, &all);
        posix_spawnattr_setsigmask(&attributes_, &none);
        posix_spawnattr_setflags(&attributes_, POSIX_SPAWN_SETSID | POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETSIGMASK);
        posix_spawn_file_actions_init(&actions_);
        // The socket first: it may be one of the others itself.
        note(posix_spawn_file_actions_adddup2(&actions_, socket, kMdnsDescriptor));
        for (int descriptor = 0; descriptor < kSilenced; ++descriptor) {
            note(posix_spawn_file_actions_addopen(&actions_, descriptor, "/dev/null", O_RDWR, 0));
        }
        note(posix_spawn_file_actions_addclosefrom_np(&actions_, kMdnsDescriptor + 1));
    }
    Launch(const Launch&) = delete;
    Launch& operator=(const Launch&) = delete;
    ~Launch() {
        posix_spawn_file_actions_destroy(&actions_);
        posix_spawnattr_destroy(&attributes_);
    }

    // The pidfd of the program, or -1 with errno set.
    int perform() {
        constexpr std::size_t stackSize = 128 * 1024;
        if (error_ == 0) {
            void* const stack = mmap(nullptr, stackSize, PROT_READ | PROT_WRITE,
                                     MAP_PRIVATE | MAP_ANONYMOUS | MAP_STACK | MAP_NORESERVE, -1, 0);
            if (stack == MAP_FAILED) return -1;
            runHelper(static_cast<char*>(stack) + stackSize);
            munmap(stack, stackSize);
        }
        errno = error_;
        return process_;
    }

  private:
    void note(int error) {
        if (error_ == 0) error_ = error;
    }

    void runHelper(void* stack) {
        sigset_t all;
        sigset_t before;
        sigfillset(&all);
        // A handler of the host's must not run in the helper, which has the host's memory.
        pthread_sigmask(SIG_SETMASK, &all, &before);
        error_ = ECHILD;  // in case that somebody kills it
        const int helper = __clone(spawn, stack, CLONE_VM | CLONE_VFORK | CLONE_FILES, this);
        if (helper < 0) {
            error_ = errno;
        } else {
            while (waitpid(helper, nullptr, __WCLONE) < 0 && errno == EINTR) {
            }
        }
        pthread_sigmask(SIG_SETMASK, &before, nullptr);
    }

    // In the helper, while the thread whose memory and errno these are stands still. It shares the descriptors, too,
    // and is the program's parent still, so that the pidfd is of no other process.
    __attribute__((no_sanitize("address", "thread", "undefined"))) static int spawn(void* self) {
        auto* const launch = static_cast<Launch*>(self);
        std::array<char*, 2> arguments = {const_cast<char*>(launch->path_), nullptr};
        pid_t program = 0;
        launch->error_ = posix_spawn(&program, launch->path_, &launch->actions_, &launch->attributes_, arguments.data(),
                                     launch->environment_);
        if (launch->error_ != 0) return 0;
        launch->process_ = pidfd_open(program, 0);
        if (launch->process_ >= 0) return 0;
        launch->error_ = errno;
        ::kill(program, SIGKILL);
        waitpid(program, nullptr, 0);
        return 0;
    }

    const char* const path_;
    posix_spawnattr_t attributes_;
    posix_spawn_file_actions_t actions_;
    char** const environment_ = environmentOfProgram();
    int error_ = 0;
    int process_ = -1;
};

}  // namespace

Result<ChildProgram> ChildProgram::start(const std::string& path) {
    std::array<int, 2> sockets = {-1, -1};
    const bool areMade = socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, sockets.data()) == 0;
    const Descriptor end(sockets[1]);
    ChildProgram program(sockets[0], -1);
    if (areMade) program.process_ = Descriptor(Launch(path.c_str(), end.number()).perform());
    if (!program.process_) return Failure{path + " cannot be started: " + failureOfSystem(errno).reason};
    return program;
}

ChildProgram::~ChildProgram() {
    if (socket_) {
        // Also what it still wants to say must not hold it.
        shutdown(socket_.number(), SHUT_RDWR);
        socket_.close();
    }
    if (!process_) return;
    if (!endsWithin(kEndTime)) {
        kill();
        endsWithin(kEndTime);
    }
    // Only where it has become a child of this process, against all custom.
    siginfo_t end;
    waitid(P_PIDFD, static_cast<id_t>(process_.number()), &end, WEXITED | WNOHANG | __WALL);
}

void ChildProgram::kill() const {
    if (process_) pidfd_send_signal(process_.number(), SIGKILL, nullptr, 0);
}

bool ChildProgram::endsWithin(std::chrono::milliseconds time) const {
    using Clock = std::chrono::steady_clock;
    const auto deadline = Clock::now() + time;
    pollfd polled{process_.number(), POLLIN, 0};
    for (;;) {
        const auto rest = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now());
        if (rest.count() < 0) return false;
        const int ready = poll(&polled, 1, static_cast<int>(rest.count()));
        if (ready > 0) return true;
        if (ready == 0 || errno != EINTR) return false;
    }
}

}  // namespace velmora
