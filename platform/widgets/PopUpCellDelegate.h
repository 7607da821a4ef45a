// The look of pop-up cells: their text and an arrow. Cells that cannot be edited have no arrow.
#pragma once

#include <QStyledItemDelegate>
#include <functional>

namespace velmora {

class PopUpCellDelegate final : public QStyledItemDelegate {
  public:
    // `open` is called with the cell whose arrow was clicked.
    PopUpCellDelegate(std::function<void(const QModelIndex&)> open, QObject* parent);

    void paint(QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index) const override;

  protected:
    bool editorEvent(QEvent* event, QAbstractItemModel* model, const QStyleOptionViewItem& option,
                     const QModelIndex& index) override;

  private:
    const std::function<void(const QModelIndex&)> open_;
};

}  // namespace velmora
