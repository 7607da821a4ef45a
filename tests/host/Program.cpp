#include "tests/host/Program.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <QFile>
#include <csignal>
#include <vector>

#include "tests/support/MainLoop.h"

namespace velmora::test {

namespace {

QByteArray contentsOf(const QString& path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

}  // namespace

// Not with Qt's class: its child shares our memory for a moment, which the thread sanitizer takes for races.
Program::Program(const char* path, const QStringList& arguments) {
    std::vector<QByteArray> words = {path};
    for (const QString& argument : arguments) {
        words.push_back(argument.toUtf8());
    }
    std::vector<char*> pointers;
    for (QByteArray& word : words) {
        pointers.push_back(word.data());
    }
    pointers.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, folder_.filePath("output").toUtf8(), O_WRONLY | O_CREAT,
                                     0600);
    posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, folder_.filePath("errors").toUtf8(), O_WRONLY | O_CREAT,
                                     0600);
    const int failure = posix_spawn(&process_, path, &actions, nullptr, pointers.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    EXPECT_EQ(failure, 0) << path;
    ended_ = failure != 0;
}

Program::~Program() {
    if (hasEnded()) return;
    signal(SIGKILL);
    waitpid(process_, nullptr, 0);
}

QByteArray Program::output() const {
    return contentsOf(folder_.filePath("output"));
}

QByteArray Program::errors() const {
    return contentsOf(folder_.filePath("errors"));
}

bool Program::outputComesToHold(const QByteArray& text) {
    return runMainLoopUntil([&] { return output().contains(text) || hasEnded(); }) && output().contains(text);
}

void Program::signal(int number) {
    ASSERT_FALSE(hasEnded());
    kill(process_, number);
}

int Program::exitCode() {
    const bool ended = runMainLoopUntil([&] { return hasEnded(); }, 60.0);
    return ended && WIFEXITED(status_) ? WEXITSTATUS(status_) : -1;
}

bool Program::hasEnded() {
    if (!ended_) ended_ = waitpid(process_, &status_, WNOHANG) == process_;
    return ended_;
}

}  // namespace velmora::test
