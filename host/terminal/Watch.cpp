#include "host/terminal/Watch.h"

#include <poll.h>
#include <unistd.h>

#include <QDateTime>
#include <QEventLoop>
#include <QSocketNotifier>
#include <algorithm>
#include <utility>

#include "host/Console.h"
#include "host/Naming.h"
#include "host/Patience.h"
#include "host/PluginState.h"
#include "host/Quotes.h"
#include "host/terminal/Json.h"
#include "platform/threads/Interruption.h"

namespace velmora {

namespace {

// Between two looks without a notice.
constexpr std::chrono::milliseconds kLook{200};

using State = NodePluginConnectionState;

bool isLost(const NodePluginConnectionStatus& status) {
    return status.state == State::ended || status.state == State::failed;
}

// A state that has just begun may be given a slightly later beginning when it is told of.
bool isSame(const NodePluginConnectionStatus& left, const NodePluginConnectionStatus& right) {
    return left.state == right.state && left.serverName == right.serverName && right.since - left.since < kLook;
}

std::string counted(std::size_t count, const char* what) {
    return std::to_string(count) + ' ' + what + (count == 1 ? "" : "s");
}

// Calls the handler when the other end of standard output has gone, of which nothing tells but the next writing.
std::unique_ptr<QSocketNotifier> watchReader(const std::function<void()>& handler) {
    auto notifier = std::make_unique<QSocketNotifier>(STDOUT_FILENO, QSocketNotifier::Exception);
    QObject::connect(notifier.get(), &QSocketNotifier::activated, notifier.get(), [handler, source = notifier.get()] {
        pollfd output = {STDOUT_FILENO, 0, 0};
        poll(&output, 1, 0);
        source->setEnabled(false);
        if ((output.revents & (POLLERR | POLLHUP)) != 0) handler();
    });
    return notifier;
}

}  // namespace

bool Watch::Attribute::operator==(const Attribute& other) const {
    const auto isSameList = [&] {
        return possible == other.possible || (possible && other.possible && *possible == *other.possible);
    };
    return name == other.name && displayName == other.displayName && isSameList();
}

Watch::Watch(const Context& context) : context_(context), preparation_(context) {
    if (context.options.poll) {
        poll_.emplace(
            context.host, *context.options.poll,
            [this](const auto& name, const Reading& before, const Reading& now) { tellOfValue(name, before, now); });
    }
}

ExitCode Watch::run() {
    QEventLoop loop;
    const Interruption interruption([&] { loop.quit(); });
    const Patience patience(interruption);
    letReaderGo();
    const auto reader = watchReader([&] { loop.quit(); });
    QObject::connect(&timer_, &QTimer::timeout, &loop, [&] { look(loop); });
    timer_.start(kLook);
    // Inside the plugin's operation nothing is done but this.
    context_.host.setAttributesObserver([this] {
        hasNotice_ = true;
        timer_.start(std::chrono::milliseconds(0));
    });
    context_.host.setStatusObserver([this] { timer_.start(std::chrono::milliseconds(0)); });
    const bool isStarted = preparation_.start();
    if (isStarted && poll_) poll_->start();
    if (isStarted) loop.exec();
    context_.host.setAttributesObserver(nullptr);
    context_.host.setStatusObserver(nullptr);
    return isStarted ? ExitCode::done : ExitCode::refused;
}

void Watch::look(QEventLoop& loop) {
    timer_.start(kLook);
    lookForServers();
    lookAtConnection();
    if (std::exchange(hasNotice_, false)) {
        lookAtAttributes();
        if (const auto saved = context_.host.saveSettings(); !saved) complain(saved.failure().reason);
        if (attributesAreComplete(context_.plugin())) preparation_.warnOfDefaultsBeyondMatrix();
    }
    if (!outputIsGood() || isReaderGone()) loop.quit();
}

// Those that concern the plugin: the one that the settings name, or all when they name none.
void Watch::lookForServers() {
    const auto available = availableServers(context_.plugin());
    const std::string selected = selectedServer(context_.plugin()).value_or("");
    const auto status = context_.host.connectionStatus();
    const bool isNotFound = status && status->state == State::notFound;  // though it may be listed
    std::set<std::string> now;
    for (const std::string& name : available) {
        if (selected.empty() || (name == selected && !isNotFound)) now.insert(name);
    }
    for (const std::string& name : now) {
        if (servers_.count(name) == 0) print("found", inQuotes(name), {{"server", jsonValue(name)}});
    }
    for (const std::string& name : servers_) {
        if (now.count(name) == 0) print("gone", inQuotes(name), {{"server", jsonValue(name)}});
    }
    servers_ = std::move(now);
}

void Watch::lookAtConnection() {
    const auto now = context_.host.connectionStatus();
    if (!now) return;
    const auto before = status_;
    if (before && isSame(*before, *now)) return;
    const bool wasConnected = before && before->state == State::connected;
    if (isLost(*now)) {
        lost(*now, now->reason);
    } else if (wasConnected) {
        lost(*before, "");  // and it is made again already
    }
    if (now->state == State::connected) connected(*now);
    status_ = now;
}

void Watch::lost(const NodePluginConnectionStatus& status, const std::string& reason) {
    print("lost", inQuotes(status.serverName) + (reason.empty() ? "" : ": " + reason),
          {{"server", jsonValue(status.serverName)}, {"reason", jsonValue(reason)}});
}

void Watch::connected(const NodePluginConnectionStatus& status) {
    const auto inputs = numberOfInputs(context_.plugin());
    QJsonObject fields{{"server", jsonValue(status.serverName)}};
    if (inputs) fields.insert("inputs", static_cast<qint64>(*inputs));
    print("connected", inQuotes(status.serverName) + (inputs ? ": " + counted(*inputs, "input") : ""), fields);
}

void Watch::lookAtAttributes() {
    if (status_ && isLost(*status_)) return;  // nobody has named the values
    const VelmoraNodePluginProtocol& plugin = context_.plugin();
    const StringList names = plugin.attributeNames();
    std::vector<Attribute> now;
    for (const std::string& name : *names) {
        now.push_back(
            {name, plugin.displayNameOfAttributeWithName(name), plugin.possibleValuesOfAttributeWithName(name)});
    }
    if (attributes_ == now) return;
    attributes_ = std::move(now);
    const bool lacksValues = !names->empty() && !attributesAreComplete(plugin);
    print("changed",
          plugin.pluginName() + ": " + counted(names->size(), "attribute") +
              (lacksValues ? ", without possible values as yet" : ""),
          {{"plugin", jsonValue(plugin.pluginName())}, {"attributes", jsonValue(*names)}});
}

void Watch::tellOfValue(const std::string& name, const Reading& before, const Reading& now) {
    const auto displayName = context_.plugin().displayNameOfAttributeWithName(name);
    QJsonObject fields = recordOf(context_, name, now);
    fields.insert("from", jsonValue(before.value));
    fields.insert("to", fields.take("current"));
    const QJsonValue earlierInput = recordOf(context_, name, before).value("input");
    if (!earlierInput.isUndefined()) fields.insert("fromInput", earlierInput);
    if (fields.contains("input")) fields.insert("toInput", fields.take("input"));
    if (!now.value) fields.insert("reason", jsonValue(now.reason));
    print("value",
          inQuotes(name) + (displayName ? " (" + *displayName + ")" : "") + ": " + shownValue(before) + " -> " +
              shownValue(now) + (now.value ? "" : " (" + now.reason + ')'),
          fields);
}

void Watch::print(const char* event, const std::string& text, QJsonObject fields) const {
    const std::string time = QDateTime::currentDateTime().toString(Qt::ISODateWithMs).toStdString();
    if (context_.report.isJson()) {
        fields.insert("event", event);
        fields.insert("time", jsonValue(time));
        printJson(fields, QJsonDocument::Compact);
    } else {
        printLine(time + ' ' + event + ' ' + text);
    }
}

}  // namespace velmora
