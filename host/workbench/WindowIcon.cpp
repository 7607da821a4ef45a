#include "host/workbench/WindowIcon.h"

#include <QPainter>
#include <QPixmap>

namespace velmora {

namespace {

constexpr int kSide = 64;  // of the picture's coordinates
constexpr int kCrosspoints = 3;
constexpr int kStep = 16;
constexpr int kRadius = 5;

QPixmap pictureOfSize(int size) {
    QPixmap picture(size, size);
    picture.fill(Qt::transparent);
    QPainter painter(&picture);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.scale(double(size) / kSide, double(size) / kSide);
    painter.setPen(Qt::NoPen);
    painter.setBrush(QColor(0x23, 0x2A, 0x31));
    painter.drawRoundedRect(QRect(2, 2, kSide - 4, kSide - 4), 10, 10);
    for (int row = 1; row <= kCrosspoints; ++row) {
        for (int column = 1; column <= kCrosspoints; ++column) {
            const bool isLit = column == kCrosspoints + 1 - row;
            painter.setBrush(isLit ? QColor(0x4C, 0xD1, 0x64) : QColor(0x7B, 0x87, 0x94));
            painter.drawEllipse(QPoint(column * kStep, row * kStep), kRadius, kRadius);
        }
    }
    return picture;
}

}  // namespace

QIcon workbenchIcon() {
    QIcon icon;
    for (const int size : {16, 24, 32, 48, 64, 128}) {
        icon.addPixmap(pictureOfSize(size));
    }
    return icon;
}

}  // namespace velmora
