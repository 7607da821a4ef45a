#include "settings/LabelDelegate.h"

#include <QKeyEvent>
#include <QLineEdit>
#include <limits>

namespace velmora {

namespace {

constexpr const char* kConfirmed = "confirmed";

}  // namespace

QWidget* LabelDelegate::createEditor(QWidget* parent, const QStyleOptionViewItem&, const QModelIndex&) const {
    auto* const editor = new QLineEdit(parent);
    editor->setFrame(false);
    // Works around Qt 6.4, which cuts a text at 32,767 characters unless told otherwise.
    editor->setMaxLength(std::numeric_limits<int>::max());
    editor->setAutoFillBackground(true);
    editor->setAccessibleName("Label");
    return editor;
}

void LabelDelegate::setEditorData(QWidget* editor, const QModelIndex& index) const {
    auto* const line = static_cast<QLineEdit*>(editor);
    // What is being typed is kept when the cell's value is announced again.
    if (!line->isModified()) line->setText(index.data(Qt::EditRole).toString());
}

void LabelDelegate::setModelData(QWidget* editor, QAbstractItemModel* model, const QModelIndex& index) const {
    auto* const line = static_cast<QLineEdit*>(editor);
    if (line->isModified() || line->property(kConfirmed).toBool()) model->setData(index, line->text(), Qt::EditRole);
}

bool LabelDelegate::eventFilter(QObject* object, QEvent* event) {
    if (event->type() != QEvent::KeyPress) return QStyledItemDelegate::eventFilter(object, event);
    const int key = static_cast<QKeyEvent*>(event)->key();
    object->setProperty(kConfirmed, key == Qt::Key_Return || key == Qt::Key_Enter);
    if (key != Qt::Key_Tab && key != Qt::Key_Backtab) return QStyledItemDelegate::eventFilter(object, event);
    // Back to the table, and not on to the next cell, which would open its menu.
    auto* const editor = static_cast<QWidget*>(object);
    emit commitData(editor);
    emit closeEditor(editor);
    return true;
}

}  // namespace velmora
