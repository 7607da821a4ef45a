// A program that a test runs, with what it prints.
#pragma once

#include <sys/types.h>

#include <QByteArray>
#include <QStringList>
#include <QTemporaryDir>

namespace velmora::test {

// While a test waits for the program, the event loop is served, so that a service published by the test is answered
// for.
class Program {
  public:
    Program(const char* path, const QStringList& arguments);
    Program(const Program&) = delete;
    Program& operator=(const Program&) = delete;
    // Kills it if it still runs.
    ~Program();

    // So far.
    QByteArray output() const;
    QByteArray errors() const;
    // False when the program ends without printing the text.
    bool outputComesToHold(const QByteArray& text);
    void signal(int number);
    // Waits for the end; -1 when a signal ended it, or when it does not end within a minute.
    int exitCode();

  private:
    bool hasEnded();

    QTemporaryDir folder_;
    pid_t process_ = -1;
    bool ended_ = false;
    int status_ = 0;
};

}  // namespace velmora::test
