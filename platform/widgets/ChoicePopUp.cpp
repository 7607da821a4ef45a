#include "platform/widgets/ChoicePopUp.h"

#include <QCoreApplication>
#include <QKeyEvent>
#include <QLineEdit>
#include <QListView>
#include <QScreen>
#include <QVBoxLayout>
#include <algorithm>
#include <utility>

namespace velmora {

namespace {

constexpr int kVisibleRows = 14;
constexpr int kWidthInCharacters = 36;

}  // namespace

ChoicePopUp::ChoicePopUp(QWidget* parent)
    : QFrame(parent, Qt::Popup), find_(new QLineEdit(this)), list_(new QListView(this)) {
    setFrameStyle(QFrame::StyledPanel | QFrame::Plain);
    auto* const rows = new QVBoxLayout(this);
    rows->setContentsMargins(2, 2, 2, 2);
    rows->setSpacing(2);
    rows->addWidget(find_);
    rows->addWidget(list_);

    find_->setPlaceholderText("Type to find");
    find_->setAccessibleName("Find");
    find_->installEventFilter(this);
    setFocusProxy(find_);
    connect(find_, &QLineEdit::textChanged, this, &ChoicePopUp::find);

    matches_.setSourceModel(&titles_);
    matches_.setFilterCaseSensitivity(Qt::CaseInsensitive);
    list_->setModel(&matches_);
    list_->setAccessibleName("Choices");
    list_->setEditTriggers(QAbstractItemView::NoEditTriggers);
    list_->setFocusPolicy(Qt::NoFocus);  // the field has the keys and hands on those that move in the list
    list_->setUniformItemSizes(true);
    list_->setTextElideMode(Qt::ElideRight);
    list_->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    list_->setFrameShape(QFrame::NoFrame);
    connect(list_, &QListView::clicked, this, &ChoicePopUp::choose);
}

void ChoicePopUp::popUp(const QRect& cell, const QStringList& titles, std::int64_t current,
                        std::function<void(std::size_t index)> choose) {
    titles_.setStringList(titles);
    current_ = current;
    choose_ = std::move(choose);
    find_->clear();
    find({});
    placeAt(cell);
    show();
    layout()->activate();
    find_->setFocus(Qt::PopupFocusReason);
    makeCurrent(current_);  // once more: only a list that has its size scrolls to it
}

void ChoicePopUp::placeAt(const QRect& cell) {
    const QRect screen = parentWidget()->screen()->availableGeometry();
    const int rowHeight = std::max(list_->sizeHintForRow(0), fontMetrics().height());
    list_->setFixedHeight(std::clamp(titles_.rowCount(), 1, kVisibleRows) * rowHeight);
    layout()->activate();  // otherwise the window gets no lower than it was with more titles
    const QSize size = QSize(std::max(cell.width(), kWidthInCharacters * fontMetrics().averageCharWidth()),
                             layout()->totalSizeHint().height())
                           .boundedTo(screen.size());
    const int x = std::clamp(cell.left(), screen.left(), screen.left() + screen.width() - size.width());
    const bool fitsBelow = cell.bottom() + size.height() <= screen.bottom();
    const int y = fitsBelow ? cell.bottom() + 1 : std::max(screen.top(), cell.top() - size.height());
    setGeometry(QRect(QPoint(x, y), size));
}

void ChoicePopUp::find(const QString& text) {
    matches_.setFilterFixedString(text);
    // A number means its title, whoever else has it within a label.
    makeCurrent(text.isEmpty() ? current_ : std::int64_t{text.toInt()} - 1);
    if (!text.isEmpty() && !list_->currentIndex().isValid()) list_->setCurrentIndex(matches_.index(0, 0));
}

void ChoicePopUp::makeCurrent(std::int64_t title) {
    const bool exists = title >= 0 && title < titles_.rowCount();
    const QModelIndex match = exists ? matches_.mapFromSource(titles_.index(static_cast<int>(title))) : QModelIndex();
    list_->setCurrentIndex(match);
    if (match.isValid()) list_->scrollTo(match, QAbstractItemView::PositionAtCenter);
}

void ChoicePopUp::choose(const QModelIndex& match) {
    const QModelIndex title = matches_.mapToSource(match);
    const auto chosen = std::exchange(choose_, nullptr);
    hide();
    if (chosen && title.isValid()) chosen(static_cast<std::size_t>(title.row()));
}

bool ChoicePopUp::eventFilter(QObject* watched, QEvent* event) {
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
            // A text that matches nothing can be mended; nothing typed and nothing current closes like Escape.
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

void ChoicePopUp::hideEvent(QHideEvent* event) {
    choose_ = nullptr;
    QFrame::hideEvent(event);
}

}  // namespace velmora
