#include "settings/MenuPopUp.h"

#include <QCoreApplication>
#include <QKeyEvent>
#include <QLineEdit>
#include <QListView>
#include <QScreen>
#include <QVBoxLayout>
#include <algorithm>
#include <utility>

#include "settings/DisplayText.h"

namespace velmora {

namespace {

constexpr int kVisibleRows = 14;
constexpr int kWidthInCharacters = 36;

}  // namespace

MenuPopUp::MenuPopUp(QWidget* parent)
    : QFrame(parent, Qt::Popup), find_(new QLineEdit(this)), list_(new QListView(this)) {
    setFrameStyle(QFrame::StyledPanel | QFrame::Plain);
    auto* const layout = new QVBoxLayout(this);
    layout->setContentsMargins(2, 2, 2, 2);
    layout->setSpacing(2);
    layout->addWidget(find_);
    layout->addWidget(list_);

    find_->setPlaceholderText("Type to find");
    find_->setAccessibleName("Find");
    find_->installEventFilter(this);
    setFocusProxy(find_);
    connect(find_, &QLineEdit::textChanged, this, &MenuPopUp::findText);

    matches_.setSourceModel(&titles_);
    matches_.setFilterCaseSensitivity(Qt::CaseInsensitive);
    list_->setModel(&matches_);
    list_->setAccessibleName("Choices");
    list_->setEditTriggers(QAbstractItemView::NoEditTriggers);
    // The keys go to the field above, which hands on those that move in the list.
    list_->setFocusPolicy(Qt::NoFocus);
    list_->setUniformItemSizes(true);
    list_->setTextElideMode(Qt::ElideRight);
    list_->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    list_->setFrameShape(QFrame::NoFrame);
    connect(list_, &QListView::clicked, this, &MenuPopUp::choose);
}

void MenuPopUp::popUp(const QRect& cell, std::int64_t current, std::function<void(std::size_t index)> choose) {
    QStringList titles;
    titles.reserve(static_cast<qsizetype>(numberOfItems()));
    for (std::size_t i = 0; i < numberOfItems(); ++i) {
        titles.append(displayText(itemAtIndex(i).title));
    }
    titles_.setStringList(titles);
    current_ = current;
    choose_ = std::move(choose);
    find_->clear();
    findText({});
    placeAt(cell);
    show();
    layout()->activate();
    find_->setFocus(Qt::PopupFocusReason);
    makeCurrent(current_);  // once more: only a list that has its size scrolls to it
}

void MenuPopUp::placeAt(const QRect& cell) {
    const QRect screen = parentWidget()->screen()->availableGeometry();
    const int rows = std::clamp(titles_.rowCount(), 1, kVisibleRows);
    const int rowHeight = std::max(list_->sizeHintForRow(0), fontMetrics().height());
    list_->setFixedHeight(rows * rowHeight + 2 * list_->frameWidth());
    const int width =
        std::min(std::max(cell.width(), kWidthInCharacters * fontMetrics().averageCharWidth()), screen.width());
    const int height = std::min(layout()->totalSizeHint().height(), screen.height());
    const int x = std::clamp(cell.left(), screen.left(), std::max(screen.left(), screen.right() + 1 - width));
    const bool fitsBelow = cell.bottom() + 1 + height <= screen.bottom() + 1;
    const int y = fitsBelow ? cell.bottom() + 1 : std::max(screen.top(), cell.top() - height);
    setGeometry(x, y, width, height);
}

void MenuPopUp::findText(const QString& text) {
    matches_.setFilterFixedString(text);
    // A number means its item, whoever has it in a label.
    makeCurrent(text.isEmpty() ? current_ : std::int64_t{text.toInt()} - 1);
    if (!text.isEmpty() && !list_->currentIndex().isValid()) list_->setCurrentIndex(matches_.index(0, 0));
}

void MenuPopUp::makeCurrent(std::int64_t item) {
    const bool exists = item >= 0 && item < titles_.rowCount();
    const QModelIndex match = exists ? matches_.mapFromSource(titles_.index(static_cast<int>(item))) : QModelIndex();
    list_->setCurrentIndex(match);
    if (match.isValid()) list_->scrollTo(match, QAbstractItemView::PositionAtCenter);
}

void MenuPopUp::choose(const QModelIndex& match) {
    const QModelIndex item = matches_.mapToSource(match);
    const auto chosen = std::exchange(choose_, nullptr);
    hide();
    if (chosen && item.isValid()) chosen(static_cast<std::size_t>(item.row()));
}

bool MenuPopUp::eventFilter(QObject* watched, QEvent* event) {
    if (watched != find_ || event->type() != QEvent::KeyPress) return QFrame::eventFilter(watched, event);
    switch (static_cast<QKeyEvent*>(event)->key()) {
        case Qt::Key_Up:
        case Qt::Key_Down:
        case Qt::Key_PageUp:
        case Qt::Key_PageDown:
            QCoreApplication::sendEvent(list_, event);
            return true;
        case Qt::Key_Return:
        case Qt::Key_Enter:
            // Without an item to choose, a text that matches nothing can be mended; nothing typed closes like Escape.
            if (list_->currentIndex().isValid() || find_->text().isEmpty()) choose(list_->currentIndex());
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

void MenuPopUp::hideEvent(QHideEvent* event) {
    choose_ = nullptr;
    QFrame::hideEvent(event);
}

}  // namespace velmora
