#include "host/workbench/AttributesTable.h"

#include <QApplication>
#include <QHeaderView>
#include <QMouseEvent>
#include <QPainter>
#include <QStyledItemDelegate>
#include <algorithm>
#include <utility>

#include "host/PluginState.h"
#include "host/workbench/AttributesModel.h"
#include "host/workbench/ValuePopUp.h"

namespace velmora {

namespace {

// With less room, in characters, names give way to values.
constexpr int kWideTable = 80;

// Square, at the end of a pop-up cell.
QRect arrowRect(const QRect& cell, Qt::LayoutDirection direction) {
    const int side = cell.height() * 2 / 3;
    return QStyle::visualRect(direction, cell, QRect(cell.right() - side, cell.top(), side, cell.height()));
}

// The values whose numbers the plugin can read. They count up, so the others come last.
StringList settableValues(const StringList& values) {
    const auto end = std::find_if_not(values->begin(), values->end(), canBeSet);
    return end == values->end() ? values : makeStringList({values->begin(), end});
}

class AttributeDelegate final : public QStyledItemDelegate {
  public:
    using QStyledItemDelegate::QStyledItemDelegate;

    void paint(QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index) const override {
        if (!(index.flags() & Qt::ItemIsEditable)) {
            QStyledItemDelegate::paint(painter, option, index);
            return;
        }
        QStyleOptionViewItem text = option;
        const QRect arrow = arrowRect(option.rect, option.direction);
        const QStyle* const style = option.widget != nullptr ? option.widget->style() : QApplication::style();
        style->drawPrimitive(QStyle::PE_PanelItemViewItem, &option, painter, option.widget);
        text.rect.setWidth(text.rect.width() - arrow.width());
        text.rect = QStyle::visualRect(option.direction, option.rect, text.rect);
        QStyledItemDelegate::paint(painter, text, index);
        QStyleOption mark;
        mark.rect = arrow;
        mark.state = QStyle::State_Enabled;
        mark.palette = option.palette;
        if (option.state & QStyle::State_Selected) {
            const auto group = option.state & QStyle::State_Active ? QPalette::Active : QPalette::Inactive;
            for (const auto role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText}) {
                mark.palette.setColor(role, option.palette.color(group, QPalette::HighlightedText));
            }
        }
        style->drawPrimitive(QStyle::PE_IndicatorArrowDown, &mark, painter, option.widget);
    }

  protected:
    void initStyleOption(QStyleOptionViewItem* option, const QModelIndex& index) const override {
        QStyledItemDelegate::initStyleOption(option, index);
        // Names differ at their ends.
        if (index.column() == AttributesModel::nameColumn) option->textElideMode = Qt::ElideMiddle;
    }
};

}  // namespace

AttributesTable::AttributesTable(AttributesModel& model, Set set)
    : attributes_(model), set_(std::move(set)), values_(new ValuePopUp(this)) {
    setModel(&model);
    setItemDelegate(new AttributeDelegate(this));
    setAccessibleName("Attributes");
    setSelectionBehavior(QAbstractItemView::SelectRows);
    setSelectionMode(QAbstractItemView::SingleSelection);
    setEditTriggers(QAbstractItemView::DoubleClicked | QAbstractItemView::EditKeyPressed);
    setAlternatingRowColors(true);
    setTabKeyNavigation(false);  // Tab leaves the table
    setWordWrap(false);
    verticalHeader()->hide();
    verticalHeader()->setSectionResizeMode(QHeaderView::ResizeToContents);  // follows the font
    horizontalHeader()->setSectionResizeMode(QHeaderView::Stretch);
    horizontalHeader()->setHighlightSections(false);
    // What was offered is no longer what there is.
    connect(&model, &QAbstractItemModel::modelReset, this, &AttributesTable::closeValues);
    connect(&model, &QAbstractItemModel::dataChanged, this, &AttributesTable::closeOutdatedValues);
}

void AttributesTable::closeValues() {
    values_->hide();
}

void AttributesTable::closeOutdatedValues() {
    if (!values_->isVisible()) return;
    const StringList& now = attributes_.possibleValuesAtRow(openedRow_);
    if (now != opened_ && *now != *opened_) closeValues();
}

bool AttributesTable::edit(const QModelIndex& index, EditTrigger trigger, QEvent* event) {
    if (!index.isValid() || !(trigger & editTriggers())) return QTableView::edit(index, trigger, event);
    // Wherever in the row it was asked for: there is one thing to be chosen in it.
    openValues(index.siblingAtColumn(AttributesModel::currentColumn));
    return true;
}

void AttributesTable::openValues(const QModelIndex& cell) {
    if (!(cell.flags() & Qt::ItemIsEditable)) return;
    scrollTo(cell);
    openedRow_ = cell.row();
    opened_ = attributes_.possibleValuesAtRow(openedRow_);
    const QRect rect = visualRect(cell);
    values_->popUp({viewport()->mapToGlobal(rect.topLeft()), rect.size()}, settableValues(opened_),
                   attributes_.indexOfCurrentValueAtRow(openedRow_),
                   [this, name = attributes_.nameAtRow(openedRow_)](const std::string& value) { set_(name, value); });
}

void AttributesTable::keyPressEvent(QKeyEvent* event) {
    if (event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter) {
        edit(currentIndex(), EditKeyPressed, event);
    } else {
        QTableView::keyPressEvent(event);
    }
}

void AttributesTable::mouseReleaseEvent(QMouseEvent* event) {
    QTableView::mouseReleaseEvent(event);
    const QModelIndex index = indexAt(event->pos());
    if (event->button() == Qt::LeftButton && index.column() == AttributesModel::currentColumn &&
        arrowRect(visualRect(index), layoutDirection()).contains(event->pos()))
        openValues(index);
}

void AttributesTable::resizeEvent(QResizeEvent* event) {
    const int width = event->size().width();
    const bool isWide = width > kWideTable * fontMetrics().averageCharWidth();
    horizontalHeader()->setSectionResizeMode(AttributesModel::nameColumn,
                                             isWide ? QHeaderView::ResizeToContents : QHeaderView::Fixed);
    if (!isWide) setColumnWidth(AttributesModel::nameColumn, width / (AttributesModel::columnTotal + 1));
    QTableView::resizeEvent(event);
}

}  // namespace velmora
