// The view of the attributes: a table whose current values are pop-up cells.
#pragma once

#include <QSortFilterProxyModel>
#include <QTableView>
#include <deque>
#include <functional>
#include <string>

#include "host/Values.h"

namespace velmora {

class AttributesModel;
class ChoicePopUp;

// A double click, Enter, F2 or a click on a cell's arrow opens the possible values. They close when they change. The
// rows are sorted by number until a header is clicked; its third click gives the plugin's order.
class AttributesTable final : public QTableView {
  public:
    using Set = std::function<void(const std::string& name, const std::string& value)>;

    // The model outlives the table. `set` is called with an attribute's name and the value that was chosen for it.
    AttributesTable(AttributesModel& model, Set set);

    void closeValues();
    // The names of the attributes whose rows can be seen.
    std::deque<std::string> seenNames() const;

  protected:
    bool edit(const QModelIndex& index, EditTrigger trigger, QEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

  private:
    void openValues(const QModelIndex& cell);
    void closeOutdatedValues();

    AttributesModel& attributes_;
    const Set set_;
    ChoicePopUp* const values_;
    QSortFilterProxyModel sorted_;
    // The possible values, and their row in the model, when they were opened.
    Values opened_;
    int openedRow_ = 0;
};

}  // namespace velmora
