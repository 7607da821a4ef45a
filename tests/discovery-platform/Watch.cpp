// discovery-watch TYPE: browses and resolves as the plugin does, and writes each thing that it is told, and each log
// line, as one line of JSON to standard output. Runs until it is ended.
#include <QCoreApplication>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <cstdio>
#include <map>

#include "platform/foundation/NSLog.h"
#include "platform/network/NSNetServiceBrowser.h"

namespace velmora::test {
namespace {

// Any thread.
void say(const char* what, const std::string& text, const QJsonArray& addresses = {}) {
    const QJsonObject line{{"what", what}, {"text", QString::fromStdString(text)}, {"addresses", addresses}};
    std::puts(QJsonDocument(line).toJson(QJsonDocument::Compact).constData());
    std::fflush(stdout);
}

class Watch final : public NSNetServiceBrowserDelegate, public NSNetServiceDelegate {
  public:
    explicit Watch(const std::string& type) {
        browser_.setDelegate(this);
        browser_.searchForServicesOfTypeInDomain(type, "");
    }

  private:
    void netServiceBrowserDidFindServiceMoreComing(NSNetServiceBrowser&, const std::shared_ptr<NSNetService>& service,
                                                   bool) override {
        say("found", service->name());
        auto& known = services_[service->name()];
        known = service;
        known->setDelegate(this);
        known->resolveWithTimeout(10.0);
    }
    void netServiceBrowserDidRemoveServiceMoreComing(NSNetServiceBrowser&, const std::shared_ptr<NSNetService>& service,
                                                     bool) override {
        services_.erase(service->name());
        say("removed", service->name());
    }
    void netServiceDidResolveAddress(NSNetService& service) override {
        QJsonArray addresses;
        for (const SocketAddress& address : service.addresses()) {
            addresses.append(QString::fromStdString(address.text()));
        }
        say("resolved", service.name(), addresses);
    }
    void netServiceDidNotResolve(NSNetService& service) override { say("not resolved", service.name()); }

    NSNetServiceBrowser browser_;
    std::map<std::string, std::shared_ptr<NSNetService>> services_;
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
