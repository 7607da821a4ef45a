#include "server/ControlEvents.h"

#include <QDateTime>

#include "platform/foundation/JsonText.h"
#include "platform/foundation/QtText.h"

namespace velmora {

namespace {

// Of a long text the beginning. Bytes that are not UTF-8, and a character that is cut, become U+FFFD.
QString shown(std::string_view text) {
    constexpr std::size_t kMost = ControlEvents::kMaximumTextBytes;
    return text.size() <= kMost ? qString(text) : qString(text.substr(0, kMost)) + "...";
}

}  // namespace

void ControlEvents::client(bool came, std::string_view name) {
    if (hasRoom()) add({came ? "clientCame" : "clientGone", {{"client", shown(name)}}});
}

void ControlEvents::command(std::string_view client, std::string_view line,
                            const std::optional<std::string_view>& reply, bool isFaulty) {
    if (!hasRoom()) return;
    QJsonObject details{{"client", shown(client)}, {"line", shown(line)}};
    details["reply"] = reply ? shown(*reply) : QJsonValue();
    if (isFaulty) details["fault"] = true;
    add({"command", std::move(details)});
}

void ControlEvents::matrix(const MatrixNews& news) {
    if (!hasRoom()) return;
    QJsonObject details{{"by", shown(news.by)}};
    if (news.what == MatrixNews::What::route) {
        details["output"] = news.number;
        details["input"] = news.input;
        return add({"route", std::move(details)});
    }
    details[news.what == MatrixNews::What::inputLabel ? "input" : "output"] = news.number;
    details["label"] = shown(news.label);
    add({"label", std::move(details)});
}

void ControlEvents::announcement(const char* event, std::string_view text) {
    if (!hasRoom()) return;
    add({event, {{event == std::string_view("notAnnounced") ? "reason" : "name", shown(text)}}});
}

QByteArray ControlEvents::leftOut(std::size_t count) {
    return lineOf({"leftOut", {{"count", static_cast<qint64>(count)}}});
}

bool ControlEvents::hasRoom() {
    if (!wanted_.load(std::memory_order_relaxed)) return false;
    MutexLock lock(mutex_);
    if (queued_.size() < kMaximumQueued) return true;
    ++leftOut_;
    return false;
}

void ControlEvents::add(Event event) {
    bool isFirst = false;
    {
        MutexLock lock(mutex_);
        if (queued_.size() == kMaximumQueued) {
            ++leftOut_;
            return;
        }
        isFirst = queued_.empty();
        queued_.push_back(std::move(event));
    }
    if (isFirst) wake_();
}

ControlEvents::Taken ControlEvents::take() {
    std::vector<Event> events;
    Taken taken;
    {
        MutexLock lock(mutex_);
        events.swap(queued_);
        taken.leftOut = std::exchange(leftOut_, 0);
    }
    taken.lines.reserve(events.size());
    for (Event& event : events) {
        taken.lines.push_back(lineOf(std::move(event)));
    }
    return taken;
}

QByteArray ControlEvents::lineOf(Event event) {
    const auto time = std::chrono::duration_cast<std::chrono::milliseconds>(event.time.time_since_epoch());
    event.details["event"] = event.name;
    event.details["time"] = QDateTime::fromMSecsSinceEpoch(time.count(), Qt::UTC).toString(Qt::ISODateWithMs);
    return jsonText(event.details, QJsonDocument::Compact);
}

}  // namespace velmora
