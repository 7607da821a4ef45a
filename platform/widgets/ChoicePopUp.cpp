#include "platform/widgets/ChoicePopUp.h"

#include <QCoreApplication>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QListView>
#include <QScreen>
#include <QVBoxLayout>
#include <algorithm>
#include <utility>

#include "platform/widgets/Colours.h"

namespace velmora {

namespace {

constexpr int kVisibleRows = 14;
constexpr int kWidthInCharacters = 36;
constexpr qsizetype kShownOfText = 40;

}  // namespace

ChoicePopUp::ChoicePopUp(QWidget* parent, const Texts& texts)
    : QFrame(parent, Qt::Popup),
      texts_(texts),
      find_(new QLineEdit(this)),
      list_(new QListView(this)),
      remark_(new QLabel(list_)) {
    setFrameStyle(QFrame::StyledPanel | QFrame::Plain);
    auto* const rows = new QVBoxLayout(this);
    rows->setContentsMargins(2, 2, 2, 2);
    rows->setSpacing(2);
    rows->addWidget(find_);
    rows->addWidget(list_);

    find_->setPlaceholderText(texts.find);
    find_->setAccessibleName(texts.findName);
    find_->installEventFilter(this);
    remark_->setObjectName("remark");
    remark_->setTextFormat(Qt::PlainText);
    remark_->setWordWrap(true);
    remark_->setMargin(4);
    paintWith(*remark_, kWaitingSignal);
    remark_->hide();
    setFocusProxy(find_);
    connect(find_, &QLineEdit::textChanged, this, &ChoicePopUp::find);

    matches_.setSourceModel(&titles_);
    list_->setModel(&matches_);
    list_->setAccessibleName(texts.choicesName);
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
    QPalette colours = palette();
    colours.setColor(QPalette::PlaceholderText, dimmedText(colours));
    find_->setPalette(colours);
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

void ChoicePopUp::Matches::setWords(const QString& text) {
    words_ = text.split(' ', Qt::SkipEmptyParts);
    invalidateFilter();
}

bool ChoicePopUp::Matches::filterAcceptsRow(int row, const QModelIndex& parent) const {
    const QString title = sourceModel()->index(row, 0, parent).data().toString();
    return std::all_of(words_.begin(), words_.end(),
                       [&](const QString& word) { return title.contains(word, Qt::CaseInsensitive); });
}

// A title may be too long for the window.
QVariant ChoicePopUp::Matches::data(const QModelIndex& index, int role) const {
    if (role != Qt::ToolTipRole) return QSortFilterProxyModel::data(index, role);
    return "<p>" + index.data().toString().toHtmlEscaped() + "</p>";
}

void ChoicePopUp::find(const QString& text) {
    matches_.setWords(text);
    showRemark({});
    if (text.isEmpty()) {
        makeCurrent(current_);
        return;
    }
    const QString shown = text.size() > kShownOfText ? text.left(kShownOfText) + u'\u2026' : text;
    bool isNumber = false;
    static_cast<void>(text.trimmed().toULongLong(&isNumber));
    makeCurrent(titleMeantBy(text.trimmed()));
    if (list_->currentIndex().isValid()) return;
    if (isNumber) {
        showRemark(texts_.noNumber.arg(shown.trimmed()));
    } else if (matches_.rowCount() == 0) {
        showRemark(texts_.noMatch.arg(shown));
    } else {
        list_->setCurrentIndex(matches_.index(0, 0));
    }
}

std::int64_t ChoicePopUp::titleMeantBy(const QString& text) const {
    const qsizetype same = titles_.stringList().indexOf(text);
    return same >= 0 ? same : std::int64_t{text.toInt()} - 1;
}

void ChoicePopUp::showRemark(const QString& remark) {
    remark_->setText(remark);
    remark_->setVisible(!remark.isEmpty());
    const int height = remark_->heightForWidth(list_->width());
    remark_->setGeometry(0, std::max(0, list_->height() - height), list_->width(), height);
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
            // A text that means nothing can be mended; nothing typed and nothing current closes like Escape.
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
