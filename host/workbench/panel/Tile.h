// A tile of the panel: a destination with its source, or a source as a button.
#pragma once

#include <QColor>
#include <QString>
#include <QStyledItemDelegate>
#include <functional>
#include <vector>

#include "host/workbench/panel/Tints.h"

namespace velmora {

struct Tile {
    struct Sign {
        QString text;
        QColor colour;
    };
    enum class Frame { thin, selected, waiting, failed };

    QString number = {};
    QString label = {};
    QString below = {};
    bool isBelowDimmed = false;
    std::vector<Sign> signs = {};
    Frame frame = Frame::thin;
    bool isLit = false;
    bool isDotted = false;
    bool isFlashing = false;
    bool isFramed = false;  // the keyboard is here
};

// Main thread. Paints what it is told of each index: number and label, large; the rest below or, in a low row, beside.
class TileDelegate final : public QStyledItemDelegate {
  public:
    using TileOf = std::function<Tile(const QModelIndex& index, const Tints& tints)>;

    TileDelegate(TileOf tileOf, QObject* parent) : QStyledItemDelegate(parent), tileOf_(std::move(tileOf)) {}

    // For all tiles from now on, the distance between them included.
    void setSize(const QSize& size) { size_ = size; }
    static QFont labelFont(const QFont& font);

    void paint(QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index) const override;
    QSize sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const override;

  private:
    const TileOf tileOf_;
    QSize size_;
};

}  // namespace velmora
