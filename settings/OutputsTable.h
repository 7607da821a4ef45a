// The table of the configured outputs: a table view over the controller, with pop-up cells and sorting.
#pragma once

#include <QTableView>
#include <memory>
#include <vector>

#include "settings/SettingsControls.h"

namespace velmora {

class MenuPopUp;
class OutputsTableModel;
class SwitchSettingsViewController;

// Enter or F2 edits the current cell, as a double click does. A header's click, or the context menu (which the keyboard
// reaches, too), sorts.
class OutputsTable final : public QTableView, public TableView {
  public:
    explicit OutputsTable(QWidget* parent);

    // The controller is the table's data source and delegate from here on, until detach. The menus belong to the pop-up
    // columns.
    void attach(SwitchSettingsViewController& controller, MenuPopUp& outputsMenu, MenuPopUp& inputsMenu);
    void detach();

    // Keeps the selection on the entry that was selected, wherever its row is now, or, when that entry alone was
    // removed, on the one that moved up. Closes a menu that is open.
    void reloadData() override;
    std::int64_t selectedRow() const override;
    const std::vector<SortDescriptor>& sortDescriptors() const override { return sortDescriptors_; }

    // Ends the editing of a cell, as leaving it does. False when the edit was refused; the alert about it opens when
    // the event loop next runs.
    bool endEditing();
    // Whether a reload is seen at once, and not only when the event loop runs again.
    void setPaintsAtOnce(bool paints) { paintsAtOnce_ = paints; }
    const OutputsTableModel* outputsModel() const { return model_; }

    using QTableView::edit;

  protected:
    bool edit(const QModelIndex& index, EditTrigger trigger, QEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void contextMenuEvent(QContextMenuEvent* event) override;
    void hideEvent(QHideEvent* event) override;

  private:
    MenuPopUp* menuOfColumn(int column) const;
    void openMenu(const QModelIndex& index);
    void closeMenus();
    // Ends the editing of a cell without storing anything.
    void abandonEditing();
    // Does what a click on a header does: sorts ascending first, then the other way round. The earlier order decides
    // among equals.
    void sortBy(int column);
    void selectionHasChanged();

    SwitchSettingsViewController* controller_ = nullptr;
    OutputsTableModel* model_ = nullptr;
    std::vector<MenuPopUp*> menus_;  // by column; null for a column of text
    std::vector<SortDescriptor> sortDescriptors_;
    bool paintsAtOnce_ = false;
};

}  // namespace velmora
