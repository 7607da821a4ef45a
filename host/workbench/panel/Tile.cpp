#include "host/workbench/panel/Tile.h"

#include <QPainter>
#include <algorithm>

namespace velmora {

namespace {

constexpr double kSmallestLabel = 14;  // points
constexpr double kLabelToText = 1.5;
constexpr int kGap = 3;
constexpr int kMargin = 7;

QPen framePen(const Tile& tile, const QPalette& palette, const Tints& tints) {
    switch (tile.frame) {
        case Tile::Frame::selected:
            return QPen(palette.color(QPalette::Highlight), 3);
        case Tile::Frame::waiting:
            return QPen(tints.warning(), 3, Qt::DashLine);
        case Tile::Frame::failed:
            return QPen(tints.failure(), 2);
        default:
            return QPen(frameColour(palette), 1);
    }
}

// Draws what there is room for, from the left, and gives back the rest of the room.
QRect drawFromLeft(QPainter& painter, const QRect& room, const QString& text) {
    const QString elided = painter.fontMetrics().elidedText(text, Qt::ElideRight, room.width());
    painter.drawText(room, static_cast<int>(Qt::AlignLeft | Qt::AlignVCenter), elided);
    return room.adjusted(painter.fontMetrics().horizontalAdvance(elided) + kMargin, 0, 0, 0);
}

QRect drawSigns(QPainter& painter, QRect room, const Tile& tile, const QColor& text) {
    for (const Tile::Sign& sign : tile.signs) {
        painter.setPen(tile.isLit ? text : sign.colour);
        painter.drawText(room, static_cast<int>(Qt::AlignRight | Qt::AlignVCenter), sign.text);
        room.setRight(room.right() - painter.fontMetrics().horizontalAdvance(sign.text) - kMargin);
    }
    return room;
}

void drawDot(QPainter& painter, const QRect& room, const QColor& colour) {
    const int side = std::max(6, room.height() / 3);
    painter.setPen(Qt::NoPen);
    painter.setBrush(colour);
    painter.drawEllipse(QRect(room.right() - side, room.center().y() - side / 2, side, side));
    painter.setBrush(Qt::NoBrush);
}

}  // namespace

QFont TileDelegate::labelFont(const QFont& font) {
    QFont large = font;
    large.setPointSizeF(std::max(kSmallestLabel, font.pointSizeF() * kLabelToText));
    large.setBold(true);
    return large;
}

QSize TileDelegate::sizeHint(const QStyleOptionViewItem& /*option*/, const QModelIndex& /*index*/) const {
    return size_;
}

void TileDelegate::paint(QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index) const {
    const QPalette& palette = option.palette;
    const Tints tints(palette);
    const Tile tile = tileOf_(index, tints);
    const QColor text = palette.color(tile.isLit ? QPalette::HighlightedText : QPalette::ButtonText);
    const QColor dimmed = tile.isLit ? text : tints.dimmed();
    const QRect frame = option.rect.adjusted(kGap, kGap, -kGap, -kGap);
    painter->save();
    painter->setRenderHint(QPainter::Antialiasing);
    painter->setPen(framePen(tile, palette, tints));
    painter->setBrush(tile.isFlashing ? tints.flash()
                                      : palette.color(tile.isLit ? QPalette::Highlight : QPalette::Button));
    painter->drawRoundedRect(frame, 4, 4);
    painter->setBrush(Qt::NoBrush);
    if (tile.isFramed) {
        painter->setPen(QPen(text, 1, Qt::DotLine));
        painter->drawRect(frame.adjusted(3, 3, -3, -3));
    }

    QRect line = frame.adjusted(kMargin, 2, -kMargin, -2);
    QRect below = line;
    const bool isLow = line.height() < 2 * option.fontMetrics.height();
    if (!isLow) {
        line.setBottom(line.top() + QFontMetrics(labelFont(option.font)).height());
        below.setTop(line.bottom());
    }
    painter->setFont(option.font);
    if (isLow) {
        line = drawSigns(*painter, line, tile, text);
    } else {
        below = drawSigns(*painter, below, tile, text);
    }
    if (tile.isDotted) {
        QRect& room = isLow ? line : below;
        drawDot(*painter, room, dimmed);
        room.setRight(room.right() - room.height() / 2 - kMargin);
    }
    painter->setPen(dimmed);
    line = drawFromLeft(*painter, line, tile.number);
    painter->setPen(text);
    painter->setFont(labelFont(option.font));
    line = drawFromLeft(*painter, line, tile.label);
    painter->setFont(option.font);
    painter->setPen(tile.isBelowDimmed ? dimmed : text);
    drawFromLeft(*painter, isLow ? line : below, tile.below);
    painter->restore();
}

}  // namespace velmora
