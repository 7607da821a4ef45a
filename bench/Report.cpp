#include "bench/Report.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonValue>
#include <algorithm>
#include <array>
#include <cstdio>
#include <utility>

#include "bench/Wrong.h"
#include "platform/foundation/FileContents.h"

namespace velmora::bench {

namespace {

using Cells = std::array<std::string, 8>;

std::string text(std::optional<double> value, int decimals = -1) {
    if (!value) return "";
    if (decimals < 0) decimals = *value >= 1000 ? 0 : *value >= 10 ? 1 : *value >= 1 ? 2 : 3;
    char buffer[32];
    std::snprintf(buffer, sizeof buffer, "%.*f", decimals, *value);
    return buffer;
}

Cells cells(const Row& row) {
    return {row.name,
            row.placement,
            row.figure ? text(row.figure) + " " + row.unit : "",
            row.against,
            text(row.againstFigure),
            text(row.ratio, 2),
            row.target,
            row.verdict()};
}

QJsonValue json(const std::string& value) {
    return value.empty() ? QJsonValue() : QJsonValue(QString::fromStdString(value));
}

template <typename Value>
QJsonValue json(const std::optional<Value>& value) {
    return value ? QJsonValue(*value) : QJsonValue();
}

QJsonArray json(const std::vector<double>& values) {
    QJsonArray array;
    for (const double value : values) {
        array.append(value);
    }
    return array;
}

}  // namespace

std::string Row::verdict() const {
    if (!figure) return "not measured";
    if (!met) return "written down";
    return *met ? "met" : "missed";
}

void Report::add(Row row) {
    std::fprintf(stderr, "  %s%s%s: %s\n", row.name.c_str(), row.placement.empty() ? "" : ", ", row.placement.c_str(),
                 row.verdict().c_str());
    rows_.push_back(std::move(row));
}

void Report::print() const {
    std::vector<Cells> table{{"what", "placement", "median", "against", "its median", "ratio", "to reach", ""}};
    for (const Row& row : rows_) {
        table.push_back(cells(row));
    }
    std::array<std::size_t, 8> widths{};
    for (const Cells& line : table) {
        for (std::size_t i = 0; i < line.size(); ++i) {
            widths[i] = std::max(widths[i], line[i].size());
        }
    }
    for (const Cells& line : table) {
        for (std::size_t i = 0; i < line.size(); ++i) {
            const bool number = i == 2 || i == 4 || i == 5;
            std::printf(number ? "%*s  " : "%-*s  ", static_cast<int>(widths[i]), line[i].c_str());
        }
        std::printf("\n");
    }
    for (const Row& row : rows_) {
        if (!row.note.empty()) std::printf("%s: %s\n", row.name.c_str(), row.note.c_str());
    }
    std::fflush(stdout);
}

void Report::write(const std::string& path, const QJsonObject& machine) const {
    QJsonArray rows;
    for (const Row& row : rows_) {
        rows.append(QJsonObject{{"group", json(row.group)},
                                {"name", json(row.name)},
                                {"placement", json(row.placement)},
                                {"median", json(row.figure)},
                                {"unit", json(row.unit)},
                                {"against", json(row.against)},
                                {"againstMedian", json(row.againstFigure)},
                                {"ratio", json(row.ratio)},
                                {"target", json(row.target)},
                                {"met", json(row.met)},
                                {"verdict", json(row.verdict())},
                                {"size", json(row.size)},
                                {"rounds", json(row.rounds)},
                                {"againstRounds", json(row.againstRounds)},
                                {"note", json(row.note)}});
    }
    const QByteArray bytes = QJsonDocument(QJsonObject{{"machine", machine}, {"rows", rows}}).toJson();
    const Result<void> written = replaceFile(path, {bytes.constData(), static_cast<std::size_t>(bytes.size())});
    if (!written) throw Wrong("cannot write " + path + ": " + written.failure().reason);
}

}  // namespace velmora::bench
