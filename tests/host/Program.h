// A program that a test runs, with what it prints, as Qt's texts.
#pragma once

#include <QByteArray>
#include <QStringList>

#include "tests/support/ChildProcess.h"

namespace velmora::test {

// As ChildProcess, no wait is longer than 30 seconds.
class Program {
  public:
    Program(const char* path, const QStringList& arguments);

    // What is left until the program ends.
    QByteArray output() { return QByteArray::fromStdString(process_.output()); }
    QByteArray errors() { return QByteArray::fromStdString(process_.errors()); }
    QByteArray outputLine() { return QByteArray::fromStdString(process_.outputLine()); }
    // Reads up to the line that holds the text; false when the program ends without one.
    bool outputComesToHold(const char* text);
    void signal(int number) { process_.sendSignal(number); }
    // Waits for the end; -1 when a signal ended it, or when it does not end.
    int exitCode() { return process_.exitCode(); }

  private:
    ChildProcess process_;
};

}  // namespace velmora::test
