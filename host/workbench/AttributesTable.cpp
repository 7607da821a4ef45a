#include "host/workbench/AttributesTable.h"

#include <QHeaderView>
#include <QKeyEvent>
#include <QStyledItemDelegate>
#include <algorithm>
#include <utility>

#include "host/workbench/AttributesModel.h"
#include "host/workbench/Words.h"
#include "platform/widgets/ChoicePopUp.h"
#include "platform/widgets/DisplayText.h"
#include "platform/widgets/PopUpCellDelegate.h"

namespace velmora {

namespace {

// Below this width, in characters, names give way to values.
constexpr int kWideTable = 80;

QStringList titlesOf(const Values& values) {
    QStringList titles;
    for (const std::string& value : values.texts()) {
        titles << displayText(value);
    }
    return titles;
}

// Elides names in the middle, because they differ at their ends.
class NameDelegate final : public QStyledItemDelegate {
  public:
    using QStyledItemDelegate::QStyledItemDelegate;

  protected:
    void initStyleOption(QStyleOptionViewItem* option, const QModelIndex& index) const override {
        QStyledItemDelegate::initStyleOption(option, index);
        option->textElideMode = Qt::ElideMiddle;
    }
};

}  // namespace

AttributesTable::AttributesTable(AttributesModel& model, Set set)
    : attributes_(model),
      set_(std::move(set)),
      values_(new ChoicePopUp(this, {Words::tr("Type to find"), Words::tr("Find"), Words::tr("Choices"),
                                     Words::tr("There is no %1."), Words::tr("Nothing here contains \"%1\".")})) {
    sorted_.setSourceModel(&model);
    sorted_.setSortRole(AttributesModel::sortRole);
    setModel(&sorted_);
    horizontalHeader()->setSortIndicatorClearable(true);
    setSortingEnabled(true);
    sortByColumn(AttributesModel::numberColumn, Qt::AscendingOrder);
    setItemDelegateForColumn(AttributesModel::nameColumn, new NameDelegate(this));
    setItemDelegateForColumn(AttributesModel::currentColumn,
                             new PopUpCellDelegate([this](const QModelIndex& cell) { openValues(cell); }, this));
    values_->setAccessibleName(Words::tr("Possible values"));
    setAccessibleName(Words::tr("Attributes"));
    setSelectionBehavior(QAbstractItemView::SelectRows);
    setSelectionMode(QAbstractItemView::SingleSelection);
    setEditTriggers(QAbstractItemView::DoubleClicked | QAbstractItemView::EditKeyPressed);
    setAlternatingRowColors(true);
    setTabKeyNavigation(false);  // Tab leaves the table
    setWordWrap(false);
    verticalHeader()->hide();
    verticalHeader()->setSectionResizeMode(QHeaderView::ResizeToContents);  // follows the font
    horizontalHeader()->setSectionResizeMode(QHeaderView::Stretch);
    horizontalHeader()->setSectionResizeMode(AttributesModel::numberColumn, QHeaderView::ResizeToContents);
    horizontalHeader()->setHighlightSections(false);
    // Values that have changed must not be offered any longer.
    connect(&model, &QAbstractItemModel::modelReset, this, &AttributesTable::closeValues);
    connect(&model, &QAbstractItemModel::dataChanged, this, &AttributesTable::closeOutdatedValues);
}

void AttributesTable::closeValues() {
    values_->hide();
}

std::deque<std::string> AttributesTable::seenNames() const {
    std::deque<std::string> names;
    const int last = rowAt(viewport()->height() - 1);  // -1 beneath the last row
    const int end = last < 0 ? sorted_.rowCount() : last + 1;
    for (int row = std::max(rowAt(0), 0); row < end; ++row) {
        const QModelIndex shown = sorted_.mapToSource(sorted_.index(row, AttributesModel::nameColumn));
        names.push_back(attributes_.nameAtRow(shown.row()));
    }
    return names;
}

void AttributesTable::closeOutdatedValues() {
    if (!values_->isVisible()) return;
    if (attributes_.settableValuesAtRow(openedRow_) != opened_) closeValues();
}

bool AttributesTable::edit(const QModelIndex& index, EditTrigger trigger, QEvent* event) {
    if (!index.isValid() || !(trigger & editTriggers())) return QTableView::edit(index, trigger, event);
    // From anywhere in the row, because there is only one thing to choose in it.
    openValues(index.siblingAtColumn(AttributesModel::currentColumn));
    return true;
}

void AttributesTable::openValues(const QModelIndex& cell) {
    if (!(cell.flags() & Qt::ItemIsEditable)) return;
    scrollTo(cell);
    openedRow_ = sorted_.mapToSource(cell).row();
    opened_ = attributes_.settableValuesAtRow(openedRow_);
    const QRect rect = visualRect(cell);
    values_->popUp({viewport()->mapToGlobal(rect.topLeft()), rect.size()}, titlesOf(opened_),
                   attributes_.indexOfCurrentValueAtRow(openedRow_),
                   [this, name = attributes_.nameAtRow(openedRow_), values = opened_](std::size_t chosen) {
                       set_(name, values.texts()[chosen]);
                   });
}

void AttributesTable::keyPressEvent(QKeyEvent* event) {
    if (event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter) {
        edit(currentIndex(), EditKeyPressed, event);
    } else {
        QTableView::keyPressEvent(event);
    }
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
