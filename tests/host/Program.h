// A program that a test runs, with its arguments as Qt's texts.
#pragma once

#include <QStringList>

#include "tests/support/ChildProcess.h"

namespace velmora::test {

class Program : public ChildProcess {
  public:
    Program(const char* path, const QStringList& arguments) : ChildProcess(commandLine(path, arguments)) {}

  private:
    static std::vector<std::string> commandLine(const char* path, const QStringList& arguments) {
        std::vector<std::string> words{path};
        for (const QString& argument : arguments)
            words.push_back(argument.toStdString());
        return words;
    }
};

}  // namespace velmora::test
