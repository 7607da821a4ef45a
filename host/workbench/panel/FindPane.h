// A pane that stays open: tiles, and a field above them to find one in.
#pragma once

#include <QWidget>
#include <functional>

#include "host/workbench/panel/FindModel.h"
#include "host/workbench/panel/Tile.h"

class QLabel;
class QLineEdit;
class QListView;

namespace velmora {

// Main thread. The field has the keyboard: arrows move the frame, Enter chooses the framed tile. Digits and Enter
// choose the tile with that number, and nothing where no tile has it. A click chooses, too. Beyond `mostTiles` tiles
// they are low rows.
class FindPane final : public QWidget {
  public:
    // With an index of the model that was handed over.
    using Choose = std::function<void(const QModelIndex& index)>;

    // For the list's object name, and for a person; %1 is what was typed.
    struct Texts {
        QString listName, find, tiles, noNumber, noMatch;
    };

    // The model is not owned and outlives the pane.
    FindPane(const Texts& texts, QAbstractItemModel& model, int mostTiles, TileDelegate::TileOf tileOf, Choose choose);

    // Sorted by number; otherwise they stand in the model's order.
    void sortByNumber();
    void setTitle(const QString& title);
    QListView& list() const { return *list_; }
    QLineEdit& field() const { return *field_; }

  protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

  private:
    bool handleKey(QKeyEvent& event);
    void chooseByEnter();
    void choose(const QModelIndex& match);
    void chooseByClick(const QModelIndex& match);
    void find(const QString& text);
    // Over the last tiles, so that nothing moves under the pointer; "" for none.
    void showHint(const QString& hint);
    void placeHint();
    // The only one; invalid where there is none, or more.
    QModelIndex rowWithLabel(const QString& label) const;
    void moveFrame(const QModelIndex& match);
    // Follows the room and the number of tiles; not the labels, which change while somebody points at a tile.
    void arrange();
    void followResize(const QSize& old);
    int widthOfTiles() const;

    const Texts texts_;
    const int mostTiles_;
    const Choose choose_;
    FindModel matches_;
    QLabel* const title_;
    QLineEdit* const field_;
    QListView* const list_;
    QLabel* const hint_;
    TileDelegate* const delegate_;
    int arrangedTotal_ = 0;
    int arrangedRoom_ = 0;
};

}  // namespace velmora
