#include "host/workbench/grid/CrosspointTable.h"

#include <QHeaderView>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>
#include <QStyledItemDelegate>
#include <algorithm>
#include <utility>

#include "host/workbench/Words.h"
#include "host/workbench/panel/Tints.h"

namespace velmora {

namespace {

constexpr int kHeaderWidthInCharacters = 26;
constexpr int kHeaderHeightInCharacters = 18;

QColor lit(const QPalette& palette) {
    QColor colour = palette.color(QPalette::Highlight);
    colour.setAlphaF(0.25F);
    return colour;
}

class DotDelegate final : public QStyledItemDelegate {
  public:
    DotDelegate(const CrosspointModel& model, const CrosspointTable& table, QObject* parent)
        : QStyledItemDelegate(parent), model_(model), table_(table) {}

    void paint(QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index) const override {
        const QModelIndex pointer = table_.underPointer();
        const bool isLit = pointer.isValid() && (pointer.row() == index.row() || pointer.column() == index.column());
        const int cell = model_.cellAt(index.row(), index.column());
        if (isLit) painter->fillRect(option.rect, lit(option.palette));
        if (!(cell & CrosspointModel::possible))
            painter->fillRect(option.rect, QBrush(option.palette.mid().color(), Qt::Dense6Pattern));
        if (cell & (CrosspointModel::routed | CrosspointModel::preset)) paintDot(*painter, option, cell);
        if (option.state & QStyle::State_HasFocus) {
            painter->setPen(QPen(option.palette.color(QPalette::Text), 1, Qt::DotLine));
            painter->drawRect(option.rect.adjusted(1, 1, -2, -2));
        }
    }

  private:
    static void paintDot(QPainter& painter, const QStyleOptionViewItem& option, int cell) {
        const int side = std::min(option.rect.width(), option.rect.height()) * 3 / 5;
        QRect dot(0, 0, side, side);
        dot.moveCenter(option.rect.center());
        painter.save();
        painter.setRenderHint(QPainter::Antialiasing);
        if (cell & CrosspointModel::routed) {
            painter.setPen(Qt::NoPen);
            painter.setBrush(option.palette.color(QPalette::Highlight));
            painter.drawEllipse(dot);
        }
        if (cell & CrosspointModel::preset) {
            painter.setBrush(Qt::NoBrush);
            painter.setPen(QPen(Tints(option.palette).warning(), 3, Qt::DashLine));
            painter.drawEllipse(dot.adjusted(-2, -2, 2, 2));
        }
        painter.restore();
    }

    const CrosspointModel& model_;
    const CrosspointTable& table_;
};

// Titles that read upwards, so that the columns can be narrow.
class UprightHeader final : public QHeaderView {
  public:
    explicit UprightHeader(const CrosspointTable& table) : QHeaderView(Qt::Horizontal), table_(table) {}

    QSize sizeHint() const override {
        return {QHeaderView::sizeHint().width(), kHeaderHeightInCharacters * fontMetrics().averageCharWidth()};
    }

  protected:
    void paintSection(QPainter* painter, const QRect& section, int column) const override {
        painter->save();
        const QModelIndex pointer = table_.underPointer();
        painter->fillRect(section, palette().color(QPalette::Button));
        if (pointer.isValid() && pointer.column() == column) painter->fillRect(section, lit(palette()));
        painter->setPen(palette().color(QPalette::Mid));
        painter->drawLine(section.topRight(), section.bottomRight());
        painter->setPen(palette().color(QPalette::ButtonText));
        painter->translate(section.left(), section.bottom());
        painter->rotate(-90);
        const QString text = model()->headerData(column, Qt::Horizontal, Qt::DisplayRole).toString();
        const QRect room(4, 0, section.height() - 8, section.width());
        painter->drawText(room, static_cast<int>(Qt::AlignLeft | Qt::AlignVCenter),
                          fontMetrics().elidedText(text, Qt::ElideRight, room.width()));
        painter->restore();
    }

  private:
    const CrosspointTable& table_;
};

}  // namespace

CrosspointTable::CrosspointTable(CrosspointModel& model, Choose choose)
    : crosspoints_(model), choose_(std::move(choose)) {
    setHorizontalHeader(new UprightHeader(*this));
    setModel(&model);
    setItemDelegate(new DotDelegate(model, *this, this));
    setObjectName("crosspointTable");
    setAccessibleName(Words::tr("Crosspoints"));
    setSelectionMode(QAbstractItemView::NoSelection);
    setEditTriggers(QAbstractItemView::NoEditTriggers);
    setTabKeyNavigation(false);  // Tab leaves the table
    setCornerButtonEnabled(false);
    setMouseTracking(true);
    setHorizontalScrollMode(QAbstractItemView::ScrollPerPixel);
    setVerticalScrollMode(QAbstractItemView::ScrollPerPixel);
    const int side = fontMetrics().height() + 8;
    for (QHeaderView* const header : {horizontalHeader(), verticalHeader()}) {
        header->setSectionResizeMode(QHeaderView::Fixed);
        header->setMinimumSectionSize(side);
        header->setDefaultSectionSize(side);
        header->setHighlightSections(false);
        header->setTextElideMode(Qt::ElideRight);
    }
    connect(this, &QTableView::clicked, this, &CrosspointTable::choose);
}

void CrosspointTable::choose(const QModelIndex& index) {
    if (const auto step = crosspoints_.stepAt(index)) choose_(*step);
}

void CrosspointTable::light(const QModelIndex& index) {
    if (index == underPointer_) return;
    underPointer_ = index;
    viewport()->update();
    horizontalHeader()->viewport()->update();
}

void CrosspointTable::mouseMoveEvent(QMouseEvent* event) {
    light(indexAt(event->position().toPoint()));
    QTableView::mouseMoveEvent(event);
}

bool CrosspointTable::viewportEvent(QEvent* event) {
    if (event->type() == QEvent::Leave) light({});
    return QTableView::viewportEvent(event);
}

void CrosspointTable::keyPressEvent(QKeyEvent* event) {
    const bool isChoice =
        event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter || event->key() == Qt::Key_Space;
    if (!isChoice) {
        QTableView::keyPressEvent(event);
        light(currentIndex());
    } else if (!event->isAutoRepeat()) {
        choose(currentIndex());
    }
}

void CrosspointTable::resizeEvent(QResizeEvent* event) {
    const int widest = kHeaderWidthInCharacters * fontMetrics().averageCharWidth();
    verticalHeader()->setFixedWidth(std::min(widest, width() / 3));
    QTableView::resizeEvent(event);
}

}  // namespace velmora
