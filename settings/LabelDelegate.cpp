#include "settings/LabelDelegate.h"

#include <QKeyEvent>
#include <QLineEdit>

namespace velmora {

namespace {

constexpr const char* kConfirmed = "confirmed";

}  // namespace

QWidget* LabelDelegate::createEditor(QWidget* parent, const QStyleOptionViewItem&, const QModelIndex&) const {
    auto* const editor = new QLineEdit(parent);
    editor->setFrame(false);
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

bool LabelDelegate::eventFilter(QObject* editor, QEvent* event) {
    if (event->type() == QEvent::KeyPress) {
        const int key = static_cast<QKeyEvent*>(event)->key();
        editor->setProperty(kConfirmed, key == Qt::Key_Return || key == Qt::Key_Enter);
    }
    return QStyledItemDelegate::eventFilter(editor, event);
}

}  // namespace velmora
