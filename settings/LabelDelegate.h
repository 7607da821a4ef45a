// The editor of the label cells: leaving it without having typed changes nothing, Enter confirms whatever stands in it.
#pragma once

#include <QStyledItemDelegate>

namespace velmora {

class LabelDelegate final : public QStyledItemDelegate {
  public:
    using QStyledItemDelegate::QStyledItemDelegate;

    QWidget* createEditor(QWidget* parent, const QStyleOptionViewItem& option, const QModelIndex& index) const override;
    void setEditorData(QWidget* editor, const QModelIndex& index) const override;
    void setModelData(QWidget* editor, QAbstractItemModel* model, const QModelIndex& index) const override;

  protected:
    bool eventFilter(QObject* object, QEvent* event) override;
};

}  // namespace velmora
