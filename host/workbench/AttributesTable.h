// The view of the attributes: a table whose current values are pop-up cells.
#pragma once

#include <QTableView>

namespace velmora {

class AttributesModel;
class ValuePopUp;

// A double click, Enter, F2 or a click on a cell's arrow opens the possible values.
class AttributesTable final : public QTableView {
  public:
    // The model outlives the table.
    explicit AttributesTable(AttributesModel& model);

  protected:
    bool edit(const QModelIndex& index, EditTrigger trigger, QEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

  private:
    void openValues(const QModelIndex& cell);

    AttributesModel& attributes_;
    ValuePopUp* const values_;
};

}  // namespace velmora
