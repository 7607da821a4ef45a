#include "settings/OutputsTableModel.h"

#include <algorithm>
#include <utility>

#include "platform/foundation/QtText.h"
#include "platform/widgets/DisplayText.h"
#include "settings/SwitchSettingsViewController.h"
#include "switcher/Numbering.h"

namespace velmora {

OutputsTableModel::OutputsTableModel(SwitchSettingsViewController& controller, const TableView& table,
                                     std::vector<Column> columns, QObject* parent)
    : QAbstractTableModel(parent), controller_(controller), table_(table), columns_(std::move(columns)) {}

void OutputsTableModel::reload() {
    if (handedOver_) {
        refused_ = handedOver_;
        return;
    }
    refused_.reset();
    std::vector<DictionaryReference> rows;
    for (std::int64_t row = 0; row < controller_.numberOfRowsInTableView(table_); ++row) {
        rows.push_back(controller_.configuredOutputAtIndex(row));
    }
    if (rows != rows_) {
        beginResetModel();
        rows_ = std::move(rows);
        endResetModel();
    } else if (!rows_.empty()) {
        emit dataChanged(index(0, 0), index(rowCount() - 1, columnCount() - 1));
    }
}

int OutputsTableModel::rowOfEntry(const DictionaryReference& entry) const {
    const auto found = std::find(rows_.begin(), rows_.end(), entry);
    return entry != nullptr && found != rows_.end() ? static_cast<int>(found - rows_.begin()) : -1;
}

DictionaryReference OutputsTableModel::entryAtRow(int row) const {
    return row >= 0 && row < rowCount() ? rows_[static_cast<std::size_t>(row)] : nullptr;
}

int OutputsTableModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : static_cast<int>(rows_.size());
}

int OutputsTableModel::columnCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : static_cast<int>(columns_.size());
}

bool OutputsTableModel::isCell(const QModelIndex& index) const {
    return index.isValid() && index.model() == this && index.row() < rowCount() && index.column() < columnCount();
}

QVariant OutputsTableModel::data(const QModelIndex& index, int role) const {
    if (!isCell(index) || !controller_.isSwitcherSelected()) return {};
    switch (role) {
        case Qt::DisplayRole:
            return displayText(text(index));
        case Qt::ToolTipRole:
            return toolTipText(text(index));
        case Qt::EditRole: {
            if (refused_ && refused_->column == index.column() && refused_->entry == entryAtRow(index.row())) {
                return refused_->value;
            }
            const Column& column = columns_[static_cast<std::size_t>(index.column())];
            const auto value =
                controller_.tableViewObjectValueForTableColumnRow(table_, column.identifier, index.row());
            // An absent number reads as 0.
            if (column.menu != nullptr) return static_cast<qlonglong>(value ? value->integerValue() : 0);
            return qString(value ? value->text().value_or("") : "");
        }
        default:
            return {};
    }
}

std::string OutputsTableModel::text(const QModelIndex& index) const {
    const Menu* const menu = columns_[static_cast<std::size_t>(index.column())].menu;
    const QVariant value = data(index, Qt::EditRole);
    if (menu == nullptr) return value.toString().toStdString();
    const std::int64_t item = value.toLongLong();
    const bool isInMenu = item >= 0 && static_cast<std::uint64_t>(item) < menu->numberOfItems();
    return isInMenu ? menu->itemAtIndex(static_cast<std::size_t>(item)).title : numberText(item);
}

QVariant OutputsTableModel::headerData(int section, Qt::Orientation orientation, int role) const {
    if (orientation != Qt::Horizontal || section < 0 || section >= columnCount()) return {};
    if (role == Qt::DisplayRole) return QString(column(section).title);
    if (role == Qt::TextAlignmentRole) return QVariant(Qt::AlignLeft | Qt::AlignVCenter);
    return {};
}

Qt::ItemFlags OutputsTableModel::flags(const QModelIndex& index) const {
    if (!isCell(index)) return Qt::NoItemFlags;
    const Qt::ItemFlags shown = Qt::ItemIsSelectable | Qt::ItemIsEnabled | Qt::ItemNeverHasChildren;
    return controller_.isSwitcherSelected() ? shown | Qt::ItemIsEditable : shown;
}

bool OutputsTableModel::setData(const QModelIndex& index, const QVariant& value, int role) {
    if (role != Qt::EditRole || !isCell(index)) return false;
    const DictionaryReference entry = rows_[static_cast<std::size_t>(index.row())];
    if (entry == nullptr || controller_.configuredOutputAtIndex(index.row()) != entry) return false;
    const Column& edited = column(index.column());
    const PropertyList stored = edited.menu != nullptr ? PropertyList(static_cast<std::int32_t>(value.toInt()))
                                                       : PropertyList(value.toString().toStdString());
    handedOver_ = Edit{entry, index.column(), value};
    controller_.tableViewSetObjectValueForTableColumnRow(table_, stored, edited.identifier, index.row());
    handedOver_.reset();
    const DictionaryReference changed = controller_.configuredOutputAtIndex(index.row());
    rows_[static_cast<std::size_t>(index.row())] = changed;
    emit dataChanged(index, index);
    return changed != entry;
}

}  // namespace velmora
