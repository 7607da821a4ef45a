// The window of a pop-up cell, in which a person finds and chooses one of many titles.
#pragma once

#include <QFrame>
#include <QSortFilterProxyModel>
#include <QStringListModel>
#include <cstdint>
#include <functional>

class QLineEdit;
class QListView;

namespace velmora {

// However many titles there are, it opens at once. Typing shows those that contain the text; a number goes to the title
// in that place, counted from 1. Enter or a click chooses; Escape, or a click elsewhere, closes without a choice.
class ChoicePopUp : public QFrame {
  public:
    explicit ChoicePopUp(QWidget* parent);

    // Opens at a cell (a rectangle of the screen) on the title with the index `current` or, for an index without a
    // title, on none. Once a title is chosen and the window is closed, `choose` is called with its index. Indexes count
    // from 0.
    void popUp(const QRect& cell, const QStringList& titles, std::int64_t current,
               std::function<void(std::size_t index)> choose);

  protected:
    bool eventFilter(QObject* watched, QEvent* event) override;
    void hideEvent(QHideEvent* event) override;

  private:
    void placeAt(const QRect& cell);
    void find(const QString& text);
    void makeCurrent(std::int64_t title);
    void choose(const QModelIndex& match);

    QLineEdit* const find_;
    QListView* const list_;
    QStringListModel titles_;
    QSortFilterProxyModel matches_;
    std::int64_t current_ = -1;
    std::function<void(std::size_t)> choose_;
};

}  // namespace velmora
