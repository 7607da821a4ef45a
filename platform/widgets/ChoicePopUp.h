// The window of a pop-up cell, in which a person finds and chooses one of many titles.
#pragma once

#include <QFrame>
#include <QSortFilterProxyModel>
#include <QStringListModel>
#include <cstdint>
#include <functional>

class QLabel;
class QLineEdit;
class QListView;

namespace velmora {

// However many titles there are, it opens at once. Typing shows those that contain all the words, in any order. A
// number goes to the title in that place, counted from 1; where there is none, Enter chooses nothing, because a title
// that has the number within its label is another one. Enter or a click chooses; Escape, or a click elsewhere, closes
// without a choice.
class ChoicePopUp : public QFrame {
  public:
    // What it says; "%1" is what was typed.
    struct Texts {
        QString find = "Type to find";
        QString findName = "Find";
        QString choicesName = "Choices";
        QString noNumber = "There is no %1.";
        QString noMatch = "Nothing here contains \"%1\".";
    };

    explicit ChoicePopUp(QWidget* parent) : ChoicePopUp(parent, Texts()) {}
    ChoicePopUp(QWidget* parent, const Texts& texts);

    // Opens at a cell (a rectangle of the screen) on the title with the index `current` or, for an index without a
    // title, on none. Once a title is chosen and the window is closed, `choose` is called with its index. Indexes count
    // from 0.
    void popUp(const QRect& cell, const QStringList& titles, std::int64_t current,
               std::function<void(std::size_t index)> choose);

  protected:
    bool eventFilter(QObject* watched, QEvent* event) override;
    void hideEvent(QHideEvent* event) override;

  private:
    class Matches final : public QSortFilterProxyModel {
      public:
        void setWords(const QString& text);
        QVariant data(const QModelIndex& index, int role) const override;

      protected:
        bool filterAcceptsRow(int row, const QModelIndex& parent) const override;

      private:
        QStringList words_;
    };

    void placeAt(const QRect& cell);
    void find(const QString& text);
    // The index of the title that is meant by itself, whoever else contains the text; -1 for none.
    std::int64_t titleMeantBy(const QString& text) const;
    void makeCurrent(std::int64_t title);
    void showRemark(const QString& remark);
    void choose(const QModelIndex& match);

    const Texts texts_;
    QLineEdit* const find_;
    QListView* const list_;
    QLabel* const remark_;  // why there is nothing to choose, over the list's last rows
    QStringListModel titles_;
    Matches matches_;
    std::int64_t current_ = -1;
    std::function<void(std::size_t)> choose_;
};

}  // namespace velmora
