// discovery-watch TYPE: browses and resolves as the plugin does, and writes each thing that it is told, and each log
// line, as one line of JSON to standard output. Runs until it is ended.
#include <QCoreApplication>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <cstdio>

#include "platform/foundation/NSLog.h"
#include "tests/support/ServiceWatch.h"

namespace velmora::test {
namespace {

// Any thread.
void say(const std::string& what, const std::string& text, const std::vector<std::string>& addresses = {}) {
    QJsonArray list;
    for (const std::string& address : addresses)
        list.append(QString::fromStdString(address));
    const QJsonObject line{
        {"what", QString::fromStdString(what)}, {"text", QString::fromStdString(text)}, {"addresses", list}};
    std::puts(QJsonDocument(line).toJson(QJsonDocument::Compact).constData());
    std::fflush(stdout);
}

class Watch final : public ServiceWatch {
  public:
    using ServiceWatch::ServiceWatch;

  private:
    void tell(const std::string& what, const NSNetService& service) override {
        say(what, service.name(), addressesOf(service));
    }
};

}  // namespace
}  // namespace velmora::test

int main(int argc, char** argv) {
    if (argc != 2) return 2;
    QCoreApplication application(argc, argv);
    const velmora::NSLogObservation log([](const std::string& line) { velmora::test::say("log", line); });
    const velmora::test::Watch watch(argv[1]);
    return QCoreApplication::exec();
}
