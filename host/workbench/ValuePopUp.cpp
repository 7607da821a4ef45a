#include "host/workbench/ValuePopUp.h"

#include <QApplication>
#include <QKeyEvent>
#include <QLineEdit>
#include <QListView>
#include <QScreen>
#include <QVBoxLayout>
#include <algorithm>
#include <utility>

#include "host/workbench/ShownText.h"

namespace velmora {

namespace {

constexpr int kVisibleRows = 14;
constexpr int kWidthInCharacters = 30;

}  // namespace

ValuePopUp::ValuePopUp(QWidget* parent)
    : QFrame(parent, Qt::Popup), find_(new QLineEdit), list_(new QListView), values_(makeStringList()) {
    setFrameShape(QFrame::StyledPanel);
    setAccessibleName("Possible values");
    auto* const rows = new QVBoxLayout(this);
    rows->setContentsMargins(2, 2, 2, 2);
    rows->setSpacing(2);
    rows->addWidget(find_);
    rows->addWidget(list_);
    find_->setPlaceholderText("Type to find");
    find_->setAccessibleName("Find a value");
    find_->installEventFilter(this);
    connect(find_, &QLineEdit::textChanged, this, &ValuePopUp::find);

    matches_.setSourceModel(&shown_);
    matches_.setFilterCaseSensitivity(Qt::CaseInsensitive);
    list_->setModel(&matches_);
    list_->setAccessibleName("Possible values");
    list_->setEditTriggers(QAbstractItemView::NoEditTriggers);
    list_->setFocusPolicy(Qt::NoFocus);  // the field has the keys and hands on those that move in the list
    list_->setUniformItemSizes(true);
    list_->setTextElideMode(Qt::ElideRight);
    list_->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    list_->setFrameShape(QFrame::NoFrame);
    connect(list_, &QListView::clicked, this, &ValuePopUp::choose);
}

void ValuePopUp::popUp(const QRect& cell, const StringList& values, int current,
                       std::function<void(const std::string& value)> choose) {
    values_ = values;
    current_ = current;
    choose_ = std::move(choose);
    QStringList shown;
    for (const std::string& value : *values_) {
        shown << shownText(value);
    }
    shown_.setStringList(shown);
    find_->clear();
    find({});
    placeAt(cell);
    show();
    layout()->activate();
    find_->setFocus(Qt::PopupFocusReason);
    makeCurrent(current_);  // once more: only a list that has its size scrolls to it
}

void ValuePopUp::placeAt(const QRect& cell) {
    const QRect screen = parentWidget()->screen()->availableGeometry();
    const int rowHeight = std::max(list_->sizeHintForRow(0), fontMetrics().height());
    list_->setFixedHeight(std::clamp(shown_.rowCount(), 1, kVisibleRows) * rowHeight);
    layout()->activate();  // otherwise the window gets no lower than it was with more values
    const QSize size = QSize(std::max(cell.width(), kWidthInCharacters * fontMetrics().averageCharWidth()),
                             layout()->totalSizeHint().height())
                           .boundedTo(screen.size());
    const int x = std::clamp(cell.left(), screen.left(), screen.left() + screen.width() - size.width());
    const bool fitsBelow = cell.bottom() + size.height() <= screen.bottom();
    const int y = fitsBelow ? cell.bottom() + 1 : std::max(screen.top(), cell.top() - size.height());
    setGeometry(QRect(QPoint(x, y), size));
}

void ValuePopUp::find(const QString& text) {
    matches_.setFilterFixedString(text);
    makeCurrent(text.isEmpty() ? current_ : text.toInt() - 1);
    if (!text.isEmpty() && !list_->currentIndex().isValid()) list_->setCurrentIndex(matches_.index(0, 0));
}

void ValuePopUp::makeCurrent(int value) {
    const QModelIndex match = matches_.mapFromSource(shown_.index(value));
    list_->setCurrentIndex(match);
    if (match.isValid()) list_->scrollTo(match, QAbstractItemView::PositionAtCenter);
}

void ValuePopUp::choose(const QModelIndex& match) {
    const QModelIndex chosen = matches_.mapToSource(match);
    const auto call = std::exchange(choose_, nullptr);
    hide();
    if (call && chosen.isValid()) call((*values_)[static_cast<std::size_t>(chosen.row())]);
}

bool ValuePopUp::eventFilter(QObject* watched, QEvent* event) {
    if (event->type() != QEvent::KeyPress) return QFrame::eventFilter(watched, event);
    switch (static_cast<QKeyEvent*>(event)->key()) {
        case Qt::Key_Up:
        case Qt::Key_Down:
        case Qt::Key_PageUp:
        case Qt::Key_PageDown:
            QApplication::sendEvent(list_, event);
            return true;
        case Qt::Key_Return:
        case Qt::Key_Enter:
            if (list_->currentIndex().isValid()) choose(list_->currentIndex());
            return true;
        case Qt::Key_Escape:
        case Qt::Key_Tab:
        case Qt::Key_Backtab:
            hide();
            return true;
        default:
            return false;
    }
}

void ValuePopUp::hideEvent(QHideEvent* event) {
    choose_ = nullptr;
    QFrame::hideEvent(event);
}

}  // namespace velmora
