// The rows of the outputs table as Qt's item views take them. Every value and every rule is the controller's.
#pragma once

#include <QAbstractTableModel>
#include <cstdint>
#include <optional>
#include <vector>

#include "platform/foundation/PropertyList.h"
#include "settings/SettingsControls.h"

namespace velmora {

class SwitchSettingsViewController;

class OutputsTableModel final : public QAbstractTableModel {
  public:
    struct Column {
        const char* identifier;  // the entry key
        const char* title;
        const Menu* menu;  // what its pop-up cells offer; null for a column of text
    };

    // The table is the one that the controller is asked for; controller, table and menus outlive the model's use.
    OutputsTableModel(SwitchSettingsViewController& controller, const TableView& table, std::vector<Column> columns,
                      QObject* parent);

    // Asks the controller for its rows anew. Rows that are all still the same entries keep what the view holds for
    // them, such as an open editor; any other change resets the model. While an edit is handed to the controller it
    // does nothing, because the view is in the midst of closing its editor: the edit was refused, and its cell shows it
    // until the next call.
    void reload();
    // The row that shows an entry; -1 when none does.
    int rowOfEntry(const DictionaryReference& entry) const;
    DictionaryReference entryAtRow(int row) const;
    const Column& column(int index) const { return columns_[static_cast<std::size_t>(index)]; }
    // True while an edit is handed to the controller.
    bool isStoring() const { return handedOver_.has_value(); }
    bool showsRefusedEdit() const { return refused_.has_value(); }

    int rowCount(const QModelIndex& parent = {}) const override;
    int columnCount(const QModelIndex& parent = {}) const override;
    // Display and tool tip: text without markup or control characters. Edit: the label as it stands, or the number
    // counted from 0.
    QVariant data(const QModelIndex& index, int role) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role) const override;
    Qt::ItemFlags flags(const QModelIndex& index) const override;
    // False when the controller has not stored the value, or the row no longer shows the entry that stands there.
    bool setData(const QModelIndex& index, const QVariant& value, int role) override;

  private:
    struct Edit {
        DictionaryReference entry;
        int column;
        QVariant value;
    };

    bool isCell(const QModelIndex& index) const;
    std::string text(const QModelIndex& index) const;

    SwitchSettingsViewController& controller_;
    const TableView& table_;
    const std::vector<Column> columns_;
    std::vector<DictionaryReference> rows_;
    std::optional<Edit> handedOver_;
    std::optional<Edit> refused_;
};

}  // namespace velmora
