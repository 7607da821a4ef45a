// The plugin's attributes as a table: one row for each, in the plugin's order.
#pragma once

#include <QAbstractTableModel>
#include <optional>
#include <string>
#include <vector>

#include "plugin/VelmoraNodePluginProtocol.h"

namespace velmora {

// Main thread. Never asks the switch server: current values are handed in by whoever does.
class AttributesModel final : public QAbstractTableModel {
  public:
    enum Column { nameColumn, displayNameColumn, defaultColumn, currentColumn, columnTotal };

    // Takes over what the plugin's look-ups say now. Attributes that are still there keep their current values.
    void reload(const VelmoraNodePluginProtocol& plugin);
    // "" for a value that the plugin could not give.
    void setCurrentValue(const std::string& name, const std::string& value);
    void forgetCurrentValue(const std::string& name);

    std::vector<std::string> names() const;
    bool isPossible(const std::string& name, const std::string& value) const;
    const std::string& nameAtRow(int row) const { return rowAt(row).name; }
    // Never null.
    const StringList& possibleValuesAtRow(int row) const { return rowAt(row).possibleValues; }
    // The index of the possible value that has the number of the current one; -1 when there is none.
    int indexOfCurrentValueAtRow(int row) const;

    int rowCount(const QModelIndex& parent = {}) const override;
    int columnCount(const QModelIndex& parent = {}) const override;
    // Display and tool tip: text without markup or control characters. The current value is shown as the possible value
    // with its number.
    QVariant data(const QModelIndex& index, int role) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role) const override;
    // A current value that can be chosen is editable.
    Qt::ItemFlags flags(const QModelIndex& index) const override;

  private:
    struct Row {
        std::string name;
        std::string displayName;
        std::string defaultValue;
        StringList possibleValues;
        std::optional<std::string> currentValue;  // none until it is read
    };
    const Row& rowAt(int row) const { return rows_[static_cast<std::size_t>(row)]; }
    bool isCell(const QModelIndex& index) const;
    void storeCurrentValue(const std::string& name, std::optional<std::string> value);
    // As the plugin gave it, and as it is shown.
    std::string text(const QModelIndex& index) const;
    std::string shown(const QModelIndex& index) const;

    std::vector<Row> rows_;
};

}  // namespace velmora
