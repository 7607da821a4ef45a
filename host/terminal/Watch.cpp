#include "host/terminal/Watch.h"

#include <QDateTime>
#include <QEventLoop>
#include <QTimer>

#include "host/Console.h"
#include "host/Patience.h"
#include "host/PluginState.h"
#include "host/terminal/Json.h"
#include "host/terminal/Preparation.h"
#include "platform/threads/Interruption.h"

namespace velmora {

namespace {

void printChangeNotice(const VelmoraNodePluginProtocol& plugin, bool asJson) {
    const std::string time = QDateTime::currentDateTime().toString(Qt::ISODateWithMs).toStdString();
    const StringList names = plugin.attributeNames();
    if (asJson) {
        printJson(
            {{"time", jsonValue(time)}, {"plugin", jsonValue(plugin.pluginName())}, {"attributes", jsonValue(*names)}},
            QJsonDocument::Compact);
        return;
    }
    std::string line = time + ' ' + plugin.pluginName() + ": " + std::to_string(names->size()) +
                       (names->size() == 1 ? " attribute" : " attributes");
    if (!names->empty() && !attributesAreComplete(plugin)) line += ", without possible values as yet";
    printLine(line);
}

}  // namespace

ExitCode watch(PluginHost& host, const Options& options) {
    QEventLoop loop;
    const Interruption interruption([&] { loop.quit(); });
    const Patience patience(interruption);
    Preparation preparation(host, options);
    // After a notice, not inside it.
    QTimer afterNotice;
    afterNotice.setSingleShot(true);
    QObject::connect(&afterNotice, &QTimer::timeout, &loop, [&] {
        if (const auto saved = host.saveSettings(); !saved) complain(saved.failure().reason);
        if (attributesAreComplete(host.plugin())) preparation.warnOfDefaultsBeyondMatrix();
        if (!outputIsGood()) loop.quit();
    });
    host.setAttributesObserver([&] {
        printChangeNotice(host.plugin(), options.json);
        afterNotice.start(0);
    });
    const bool isStarted = preparation.start();
    if (isStarted) loop.exec();
    host.setAttributesObserver(nullptr);
    return isStarted ? ExitCode::done : ExitCode::refused;
}

}  // namespace velmora
