#include "host/workbench/RouteHistory.h"

#include <QDateTime>
#include <array>
#include <utility>

#include "host/workbench/Words.h"
#include "platform/widgets/DisplayText.h"

namespace velmora {

namespace {

constexpr std::size_t kMaximumHistory = 10'000;
constexpr std::array<const char*, RouteHistory::columnTotal> kTitles = {
    QT_TRANSLATE_NOOP("Words", "Time"), QT_TRANSLATE_NOOP("Words", "Destination"), QT_TRANSLATE_NOOP("Words", "From"),
    QT_TRANSLATE_NOOP("Words", "To"), QT_TRANSLATE_NOOP("Words", "By")};

QDateTime timeOf(const RouteChange& change) {
    const auto since = std::chrono::duration_cast<std::chrono::milliseconds>(change.moment.time_since_epoch());
    return QDateTime::fromMSecsSinceEpoch(since.count());
}

std::string field(const std::string& text) {
    constexpr std::string_view kBeginsFormula = "=+-@\t\r";
    std::string quoted = "\"";
    if (!text.empty() && kBeginsFormula.find(text.front()) != std::string_view::npos) quoted += '\'';
    for (const char character : text) {
        quoted += character;
        if (character == '"') quoted += '"';
    }
    return quoted + '"';
}

}  // namespace

RouteHistory::RouteHistory(std::function<std::string(const std::string&)> shownName)
    : shownName_(std::move(shownName)) {}

void RouteHistory::routeChanged(const RouteChange& change) {
    add({change, shownName_(change.name), {}});
}

void RouteHistory::setFailed(const std::string& name, const std::string& why) {
    add({{name, {}, {}, true, std::chrono::system_clock::now()}, shownName_(name), why});
}

void RouteHistory::add(Entry entry) {
    if (entries_.size() >= kMaximumHistory) {
        beginRemoveRows({}, rowCount() - 1, rowCount() - 1);
        entries_.pop_back();
        endRemoveRows();
    }
    beginInsertRows({}, 0, 0);
    entries_.push_front(std::move(entry));
    endInsertRows();
}

std::string RouteHistory::text(const Entry& entry, int column) {
    const RouteChange& change = entry.change;
    switch (column) {
        case timeColumn:
            return timeOf(change).toString("HH:mm:ss").toStdString();
        case destinationColumn:
            return entry.destination;
        case fromColumn:
            return !entry.failure.empty() ? ""
                   : change.from.empty()  ? Words::tr("not known").toStdString()
                                          : change.from;
        case toColumn:
            return entry.failure.empty() ? change.to : entry.failure;
        default:
            return (!entry.failure.empty() ? Words::tr("failed")
                    : change.isByUs        ? Words::tr("by us")
                                           : Words::tr("by others"))
                .toStdString();
    }
}

std::string RouteHistory::commaSeparatedValues() const {
    std::string lines;
    for (std::size_t column = 0; column < kTitles.size(); ++column) {
        lines += (column == 0 ? "" : ",") + field(Words::tr(kTitles[column]).toStdString());
    }
    for (auto entry = entries_.rbegin(); entry != entries_.rend(); ++entry) {
        lines += "\r\n" + field(timeOf(entry->change).toString(Qt::ISODate).toStdString());
        for (int column = destinationColumn; column < columnTotal; ++column) {
            lines += ',' + field(text(*entry, column));
        }
    }
    return lines + "\r\n";
}

int RouteHistory::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : static_cast<int>(entries_.size());
}

int RouteHistory::columnCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : columnTotal;
}

QVariant RouteHistory::data(const QModelIndex& index, int role) const {
    if (!index.isValid() || index.row() >= rowCount()) return {};
    const std::string shown = text(entries_[static_cast<std::size_t>(index.row())], index.column());
    if (role == Qt::DisplayRole) return displayText(shown);
    if (role == Qt::ToolTipRole) return toolTipText(shown);
    return {};
}

QVariant RouteHistory::headerData(int section, Qt::Orientation orientation, int role) const {
    if (orientation != Qt::Horizontal || section < 0 || section >= columnTotal) return {};
    if (role == Qt::DisplayRole) return Words::tr(kTitles[static_cast<std::size_t>(section)]);
    if (role == Qt::TextAlignmentRole) return QVariant(Qt::AlignLeft | Qt::AlignVCenter);
    return {};
}

}  // namespace velmora
