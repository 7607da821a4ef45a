#include "tests/host/Program.h"

namespace velmora::test {

namespace {

std::vector<std::string> commandLine(const char* path, const QStringList& arguments) {
    std::vector<std::string> words = {path};
    for (const QString& argument : arguments)
        words.push_back(argument.toStdString());
    return words;
}

}  // namespace

Program::Program(const char* path, const QStringList& arguments) : process_(commandLine(path, arguments)) {}

bool Program::outputComesToHold(const char* text) {
    QByteArray line;
    do {
        line = outputLine();
    } while (!line.isEmpty() && !line.contains(text));
    return !line.isEmpty();
}

}  // namespace velmora::test
