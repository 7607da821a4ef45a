// Those rows of a model that a person looks for.
#pragma once

#include <QSortFilterProxyModel>

#include "host/workbench/panel/FindWords.h"

namespace velmora {

// Main thread. Over a model with the roles of AttributesModel. A number finds by itself nothing but the row that has
// it, and hides none; other words hide the rows that do not contain all of them, in whatever order.
class FindModel final : public QSortFilterProxyModel {
  public:
    explicit FindModel(QAbstractItemModel& model);

    void find(const QString& text);
    // What the text is when it is a number, and the rows have numbers.
    std::optional<qlonglong> number() const { return words_.number(); }
    // The row with that number; invalid when there is none.
    QModelIndex rowWithNumber(qlonglong number) const;

  protected:
    bool filterAcceptsRow(int row, const QModelIndex& parent) const override;

  private:
    FindWords words_;
};

}  // namespace velmora
