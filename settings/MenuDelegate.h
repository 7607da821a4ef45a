// The look of the pop-up cells: their text and an arrow, which opens the cell's menu when it is clicked.
#pragma once

#include <QStyledItemDelegate>
#include <functional>

namespace velmora {

class MenuDelegate final : public QStyledItemDelegate {
  public:
    MenuDelegate(std::function<void(const QModelIndex&)> open, QObject* parent);

    void paint(QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index) const override;

  protected:
    bool editorEvent(QEvent* event, QAbstractItemModel* model, const QStyleOptionViewItem& option,
                     const QModelIndex& index) override;

  private:
    const std::function<void(const QModelIndex&)> open_;
};

}  // namespace velmora
