#include "settings/OutputsTable.h"

#include <QContextMenuEvent>
#include <QHeaderView>
#include <QKeyEvent>
#include <QMenu>

#include "platform/widgets/DisplayText.h"
#include "platform/widgets/PopUpCellDelegate.h"
#include "settings/LabelDelegate.h"
#include "settings/MenuPopUp.h"
#include "settings/OutputsTableModel.h"
#include "settings/SettingsKeys.h"
#include "settings/SwitchSettingsViewController.h"

namespace velmora {

OutputsTable::OutputsTable(QWidget* parent) : QTableView(parent) {
    setSelectionBehavior(QAbstractItemView::SelectRows);
    setSelectionMode(QAbstractItemView::SingleSelection);
    setEditTriggers(QAbstractItemView::DoubleClicked | QAbstractItemView::EditKeyPressed);
    setTabKeyNavigation(false);  // Tab leaves the table
    setWordWrap(false);
    setTextElideMode(Qt::ElideRight);
    verticalHeader()->hide();
    verticalHeader()->setSectionResizeMode(QHeaderView::ResizeToContents);  // follows the font
    horizontalHeader()->setSectionResizeMode(QHeaderView::Stretch);
    horizontalHeader()->setHighlightSections(false);
    horizontalHeader()->setSectionsClickable(true);
    connect(horizontalHeader(), &QHeaderView::sectionClicked, this, &OutputsTable::sortBy);
}

void OutputsTable::attach(SwitchSettingsViewController& controller, MenuPopUp& outputsMenu, MenuPopUp& inputsMenu) {
    controller_ = &controller;
    menus_ = {nullptr, &outputsMenu, &inputsMenu};
    model_ = new OutputsTableModel(controller, *this,
                                   {{kLabelKey, "Label", nullptr},
                                    {kOutputNumberKey, "Output", &outputsMenu},
                                    {kDefaultInputNumberKey, "Default Input", &inputsMenu}},
                                   this);
    setModel(model_);
    setItemDelegate(new LabelDelegate(this));
    auto* const menuDelegate = new PopUpCellDelegate([this](const QModelIndex& index) { openMenu(index); }, this);
    for (int column = 0; column < model_->columnCount(); ++column) {
        if (menuOfColumn(column) != nullptr) setItemDelegateForColumn(column, menuDelegate);
    }
    connect(model_, &QAbstractItemModel::modelAboutToBeReset, this, &OutputsTable::abandonEditing);
    connect(selectionModel(), &QItemSelectionModel::selectionChanged, this, &OutputsTable::selectionHasChanged);
}

void OutputsTable::detach() {
    closeMenus();
    abandonEditing();
    controller_ = nullptr;
    delete model_;
    model_ = nullptr;
}

MenuPopUp* OutputsTable::menuOfColumn(int column) const {
    return column >= 0 && static_cast<std::size_t>(column) < menus_.size() ? menus_[static_cast<std::size_t>(column)]
                                                                           : nullptr;
}

void OutputsTable::reloadData() {
    if (controller_ == nullptr) return;
    closeMenus();
    const DictionaryReference selected = model_->entryAtRow(static_cast<int>(selectedRow()));
    const QModelIndex current = currentIndex();
    const int currentRow = current.row();
    const int currentColumn = current.column();
    const int rows = model_->rowCount();
    model_->reload();
    const int row = model_->rowOfEntry(selected);
    if (row >= 0) {
        if (row != selectedRow()) setCurrentIndex(model_->index(row, currentColumn));
    } else if (selected != nullptr && model_->rowCount() == rows - 1 && currentRow >= 0) {
        // It alone was removed: the one that moved up follows it, so that several can be removed in turn.
        setCurrentIndex(model_->index(qMin(currentRow, model_->rowCount() - 1), currentColumn));
    } else if (!currentIndex().isValid() && currentRow >= 0) {
        // The keyboard goes on from the same place, with nothing selected.
        selectionModel()->setCurrentIndex(model_->index(qMin(currentRow, model_->rowCount() - 1), currentColumn),
                                          QItemSelectionModel::NoUpdate);
    }
    selectionHasChanged();  // a reset model does not tell
    if (paintsAtOnce_) viewport()->repaint();
}

std::int64_t OutputsTable::selectedRow() const {
    const QModelIndexList rows = selectionModel() != nullptr ? selectionModel()->selectedRows() : QModelIndexList();
    return rows.isEmpty() ? -1 : rows.front().row();
}

void OutputsTable::selectionHasChanged() {
    if (controller_ != nullptr) controller_->tableViewSelectionDidChange(*this);
}

bool OutputsTable::endEditing() {
    if (QWidget* const editor = indexWidget(currentIndex())) {
        commitData(editor);
        closeEditor(editor, QAbstractItemDelegate::NoHint);
    }
    return model_ == nullptr || !model_->showsRefusedEdit();
}

void OutputsTable::abandonEditing() {
    if (QWidget* const editor = indexWidget(currentIndex())) {
        closeEditor(editor, QAbstractItemDelegate::RevertModelCache);
    }
}

bool OutputsTable::edit(const QModelIndex& index, EditTrigger trigger, QEvent* event) {
    if (menuOfColumn(index.column()) == nullptr || !(trigger & editTriggers())) {
        return QTableView::edit(index, trigger, event);
    }
    openMenu(index);
    return true;
}

void OutputsTable::openMenu(const QModelIndex& index) {
    MenuPopUp* const menu = menuOfColumn(index.column());
    if (controller_ == nullptr || menu == nullptr || !(index.flags() & Qt::ItemIsEditable)) return;
    if (!endEditing()) return;
    QStringList titles;
    titles.reserve(static_cast<qsizetype>(menu->numberOfItems()));
    for (std::size_t i = 0; i < menu->numberOfItems(); ++i) {
        titles.append(displayText(menu->itemAtIndex(i).title));
    }
    const QRect cell = visualRect(index);
    const QRect onScreen(viewport()->mapToGlobal(cell.topLeft()), cell.size());
    menu->popUp(onScreen, titles, index.data(Qt::EditRole).toLongLong(),
                [this, menu, row = index.row(), column = index.column()](std::size_t chosen) {
                    if (controller_ == nullptr) return;
                    const MenuItem& item = menu->itemAtIndex(chosen);
                    (item.target->*item.action)(item);
                    model_->setData(model_->index(row, column), static_cast<qlonglong>(item.tag), Qt::EditRole);
                });
}

void OutputsTable::closeMenus() {
    for (MenuPopUp* const menu : menus_) {
        if (menu != nullptr) menu->hide();
    }
}

void OutputsTable::sortBy(int column) {
    if (controller_ == nullptr || column < 0 || column >= model_->columnCount()) return;
    if (!endEditing()) return;
    const std::vector<SortDescriptor> oldDescriptors = sortDescriptors_;
    SortDescriptor descriptor{model_->column(column).identifier, true};
    if (!oldDescriptors.empty() && oldDescriptors.front().key == descriptor.key) {
        descriptor.ascending = !oldDescriptors.front().ascending;
    }
    std::erase_if(sortDescriptors_, [&descriptor](const SortDescriptor& other) { return other.key == descriptor.key; });
    sortDescriptors_.insert(sortDescriptors_.begin(), descriptor);
    horizontalHeader()->setSortIndicator(column, descriptor.ascending ? Qt::AscendingOrder : Qt::DescendingOrder);
    horizontalHeader()->setSortIndicatorShown(true);
    controller_->tableViewSortDescriptorsDidChange(*this, oldDescriptors);
}

void OutputsTable::keyPressEvent(QKeyEvent* event) {
    const bool isEnter = event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter;
    if (isEnter && state() == NoState && edit(currentIndex(), EditKeyPressed, event)) {
        event->accept();
    } else {
        QTableView::keyPressEvent(event);
    }
}

void OutputsTable::contextMenuEvent(QContextMenuEvent* event) {
    if (controller_ == nullptr) return;
    auto* const menu = new QMenu(this);
    menu->setAttribute(Qt::WA_DeleteOnClose);
    for (int column = 0; column < model_->columnCount(); ++column) {
        menu->addAction("Sort by " + QString(model_->column(column).title), this, [this, column] { sortBy(column); });
    }
    menu->popup(event->globalPos());
}

void OutputsTable::hideEvent(QHideEvent* event) {
    closeMenus();
    QTableView::hideEvent(event);
}

}  // namespace velmora
