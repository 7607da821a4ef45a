// The pop-up in which a person finds and chooses one of an attribute's possible values.
#pragma once

#include <QFrame>
#include <QSortFilterProxyModel>
#include <QStringListModel>
#include <functional>

#include "platform/foundation/Text.h"

class QLineEdit;
class QListView;

namespace velmora {

// Typing shows the values that contain the text; a number goes to the input of that number. Enter or a click chooses;
// Escape, or a click elsewhere, closes without a choice.
class ValuePopUp final : public QFrame {
  public:
    explicit ValuePopUp(QWidget* parent);

    // Opens at a cell (a rectangle of the screen), on the value with the index `current`, or on none for -1. `choose`
    // is called with the chosen value once the window is closed.
    void popUp(const QRect& cell, const StringList& values, int current,
               std::function<void(const std::string& value)> choose);

  protected:
    bool eventFilter(QObject* watched, QEvent* event) override;
    void hideEvent(QHideEvent* event) override;

  private:
    void placeAt(const QRect& cell);
    void find(const QString& text);
    void makeCurrent(int value);
    void choose(const QModelIndex& match);

    QLineEdit* const find_;
    QListView* const list_;
    QStringListModel shown_;
    QSortFilterProxyModel matches_;
    StringList values_;
    int current_ = -1;
    std::function<void(const std::string&)> choose_;
};

}  // namespace velmora
