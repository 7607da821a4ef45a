#include "platform/widgets/PopUpCellDelegate.h"

#include <QApplication>
#include <QMouseEvent>
#include <QPainter>
#include <utility>

namespace velmora {

namespace {

QRect arrowRect(const QStyleOptionViewItem& option) {
    const int side = option.fontMetrics.height();
    const QRect right(option.rect.right() + 1 - side, option.rect.top(), side, option.rect.height());
    return QStyle::visualRect(option.direction, option.rect, right);
}

}  // namespace

PopUpCellDelegate::PopUpCellDelegate(std::function<void(const QModelIndex&)> open, QObject* parent)
    : QStyledItemDelegate(parent), open_(std::move(open)) {}

void PopUpCellDelegate::paint(QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index) const {
    QStyleOptionViewItem cell = option;
    initStyleOption(&cell, index);
    const QStyle* const style = cell.widget != nullptr ? cell.widget->style() : QApplication::style();
    style->drawPrimitive(QStyle::PE_PanelItemViewItem, &cell, painter, cell.widget);
    const bool isEditable = index.flags() & Qt::ItemIsEditable;
    const QRect arrow = isEditable ? arrowRect(cell) : QRect();
    QStyleOptionViewItem beside = cell;
    beside.rect = QStyle::visualRect(cell.direction, cell.rect, cell.rect.adjusted(0, 0, -arrow.width(), 0));
    style->drawControl(QStyle::CE_ItemViewItem, &beside, painter, cell.widget);
    if (!isEditable) return;
    QStyleOption mark;
    mark.rect = arrow.adjusted(arrow.width() / 5, 0, -arrow.width() / 5, 0);
    mark.palette = cell.palette;
    mark.state = QStyle::State_Enabled;
    mark.direction = cell.direction;
    if (cell.state & QStyle::State_Selected) {
        const QPalette::ColorGroup group = cell.state & QStyle::State_Active ? QPalette::Active : QPalette::Inactive;
        const QColor colour = cell.palette.color(group, QPalette::HighlightedText);
        for (const auto role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText}) {
            mark.palette.setColor(role, colour);
        }
    }
    style->drawPrimitive(QStyle::PE_IndicatorArrowDown, &mark, painter, cell.widget);
}

bool PopUpCellDelegate::editorEvent(QEvent* event, QAbstractItemModel* model, const QStyleOptionViewItem& option,
                                    const QModelIndex& index) {
    if (event->type() == QEvent::MouseButtonRelease) {
        const auto* const mouse = static_cast<QMouseEvent*>(event);
        if (mouse->button() == Qt::LeftButton && (index.flags() & Qt::ItemIsEditable) &&
            arrowRect(option).contains(mouse->position().toPoint())) {
            open_(index);
            return true;
        }
    }
    return QStyledItemDelegate::editorEvent(event, model, option, index);
}

}  // namespace velmora
