#include "host/workbench/AttributesModel.h"

#include <QGuiApplication>
#include <QPalette>
#include <algorithm>
#include <array>
#include <utility>

#include "host/PluginState.h"
#include "platform/foundation/QtText.h"
#include "platform/widgets/DisplayText.h"

namespace velmora {

namespace {

constexpr std::array<const char*, AttributesModel::columnTotal> kTitles = {"Name", "Display Name", "Default",
                                                                           "Current Value"};
constexpr const char* kUnread = "not read";
constexpr const char* kUnknown = "not known";

}  // namespace

void AttributesModel::reload(const VelmoraNodePluginProtocol& plugin) {
    std::vector<Row> rows;
    RowNumbers rowNumbers;
    const StringList names = plugin.attributeNames();  // the plugin need not keep it
    for (const std::string& name : *names) {
        const Row* const same = rowNamed(name);
        const Values values = possibleValues(plugin, name);
        rowNumbers.emplace(name, rows.size());
        rows.push_back({name, plugin.displayNameOfAttributeWithName(name).value_or(""),
                        plugin.defaultValueOfAttributeWithName(name).value_or(""), values, Values(values.settable()),
                        same != nullptr ? same->currentValue : std::nullopt, same == nullptr || same->isUnread});
    }
    const bool isSameTable = std::equal(rows.begin(), rows.end(), rows_.begin(), rows_.end(),
                                        [](const Row& left, const Row& right) { return left.name == right.name; });
    if (!isSameTable) beginResetModel();
    rows_ = std::move(rows);
    rowNumbers_ = std::move(rowNumbers);
    if (!isSameTable) {
        endResetModel();
    } else if (!rows_.empty()) {
        emit dataChanged(index(0, 0), index(rowCount() - 1, columnTotal - 1));
    }
}

const AttributesModel::Row* AttributesModel::rowNamed(const std::string& name) const {
    const auto number = rowNumbers_.find(name);
    return number != rowNumbers_.end() ? &rows_[number->second] : nullptr;
}

void AttributesModel::setCurrentValue(const std::string& name, const std::optional<std::string>& value, bool isUnread) {
    const auto number = rowNumbers_.find(name);
    if (number == rowNumbers_.end()) return;
    Row& row = rows_[number->second];
    if (row.currentValue == value && row.isUnread == isUnread) return;
    row.currentValue = value;
    row.isUnread = isUnread;
    const QModelIndex cell = index(static_cast<int>(number->second), currentColumn);
    emit dataChanged(cell, cell);
}

std::deque<std::string> AttributesModel::names() const {
    std::deque<std::string> names;
    for (const Row& row : rows_) {
        names.push_back(row.name);
    }
    return names;
}

bool AttributesModel::isPossible(const std::string& name, const std::string& value) const {
    const Row* const row = rowNamed(name);
    if (row == nullptr) return false;
    const std::vector<std::string>& values = row->settableValues.texts();
    return std::find(values.begin(), values.end(), value) != values.end();
}

int AttributesModel::indexOfCurrentValueAtRow(int row) const {
    const auto& current = rowAt(row).currentValue;
    const auto index = current ? rowAt(row).settableValues.indexOf(*current) : std::nullopt;
    return index ? static_cast<int>(*index) : -1;
}

int AttributesModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : static_cast<int>(rows_.size());
}

int AttributesModel::columnCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : columnTotal;
}

bool AttributesModel::isCell(const QModelIndex& index) const {
    return index.isValid() && index.model() == this && index.row() < rowCount() && index.column() < columnTotal;
}

std::string AttributesModel::text(const QModelIndex& index) const {
    const Row& row = rowAt(index.row());
    switch (index.column()) {
        case nameColumn:
            return row.name;
        case displayNameColumn:
            return row.displayName;
        case defaultColumn:
            return row.defaultValue;
        default:
            return row.currentValue.value_or(row.isUnread ? kUnread : kUnknown);
    }
}

std::string AttributesModel::shown(const QModelIndex& index) const {
    const Row& row = rowAt(index.row());
    const bool isValue = index.column() == currentColumn && row.currentValue;
    const auto value = isValue ? row.possibleValues.indexOf(*row.currentValue) : std::nullopt;
    return value ? row.possibleValues.texts()[*value] : text(index);
}

QVariant AttributesModel::data(const QModelIndex& index, int role) const {
    if (!isCell(index)) return {};
    switch (role) {
        case Qt::DisplayRole:
            return displayText(shown(index));
        case Qt::ToolTipRole:
            return toolTipText(shown(index));
        case Qt::EditRole:
            return qString(text(index));
        case Qt::ForegroundRole:
            if (index.column() == currentColumn && !rowAt(index.row()).currentValue)
                return QGuiApplication::palette().brush(QPalette::PlaceholderText);
            return {};
        default:
            return {};
    }
}

QVariant AttributesModel::headerData(int section, Qt::Orientation orientation, int role) const {
    if (orientation != Qt::Horizontal || section < 0 || section >= columnTotal) return {};
    if (role == Qt::DisplayRole) return QString(kTitles[static_cast<std::size_t>(section)]);
    if (role == Qt::TextAlignmentRole) return QVariant(Qt::AlignLeft | Qt::AlignVCenter);
    return {};
}

Qt::ItemFlags AttributesModel::flags(const QModelIndex& index) const {
    if (!isCell(index)) return Qt::NoItemFlags;
    const Qt::ItemFlags shown = Qt::ItemIsSelectable | Qt::ItemIsEnabled | Qt::ItemNeverHasChildren;
    const bool isPopUp = index.column() == currentColumn && !settableValuesAtRow(index.row()).texts().empty();
    return isPopUp ? shown | Qt::ItemIsEditable : shown;
}

}  // namespace velmora
