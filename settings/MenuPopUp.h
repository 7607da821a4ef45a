// The menu of a column's pop-up cells: its items, and the window that lets the user find and choose one of them.
#pragma once

#include <QFrame>
#include <QSortFilterProxyModel>
#include <QStringListModel>
#include <functional>

#include "settings/SettingsControls.h"

class QLineEdit;
class QListView;

namespace velmora {

// However many items there are, it opens at once; typing into it shows the items that contain the text. Enter or a
// click chooses; Escape, or a click elsewhere, closes it without a choice.
class MenuPopUp final : public QFrame, public Menu {
  public:
    explicit MenuPopUp(QWidget* parent);

    // Opens at a cell (a rectangle of the screen) on the item `current` or, for an index without an item, on none. Once
    // the user has chosen an item and the window is closed, `choose` is called with the item's index.
    void popUp(const QRect& cell, std::int64_t current, std::function<void(std::size_t index)> choose);

  protected:
    bool eventFilter(QObject* watched, QEvent* event) override;
    void hideEvent(QHideEvent* event) override;

  private:
    void placeAt(const QRect& cell);
    void findText(const QString& text);
    void makeCurrent(std::int64_t item);
    void choose(const QModelIndex& match);

    QLineEdit* const find_;
    QListView* const list_;
    QStringListModel titles_;
    QSortFilterProxyModel matches_;
    std::int64_t current_ = -1;
    std::function<void(std::size_t)> choose_;
};

}  // namespace velmora
