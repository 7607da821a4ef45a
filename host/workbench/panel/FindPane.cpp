#include "host/workbench/panel/FindPane.h"

#include <QCoreApplication>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QListView>
#include <QResizeEvent>
#include <QTimer>
#include <QVBoxLayout>
#include <algorithm>
#include <utility>

#include "host/workbench/AttributesModel.h"
#include "host/workbench/NumberedText.h"
#include "host/workbench/Words.h"

namespace velmora {

namespace {

constexpr int kTileWidthInCharacters = 27;
constexpr int kWideTileInCharacters = 40;
constexpr int kMarginsInCharacters = 5;
constexpr int kRowWidthInCharacters = 60;

}  // namespace

FindPane::FindPane(const Texts& texts, QAbstractItemModel& model, int mostTiles, TileDelegate::TileOf tileOf,
                   Choose choose)
    : texts_(texts),
      mostTiles_(mostTiles),
      choose_(std::move(choose)),
      matches_(model),
      title_(new QLabel),
      field_(new QLineEdit),
      list_(new QListView),
      hint_(new QLabel(list_)),
      delegate_(new TileDelegate(
          [this, tileOf = std::move(tileOf)](const QModelIndex& match, const Tints& tints) {
              Tile tile = tileOf(matches_.mapToSource(match), tints);
              tile.isFramed = field_->hasFocus() && match == list_->currentIndex();
              return tile;
          },
          this)) {
    auto* const rows = new QVBoxLayout(this);
    rows->setContentsMargins(4, 4, 4, 4);
    for (QWidget* const widget :
         {static_cast<QWidget*>(title_), static_cast<QWidget*>(field_), static_cast<QWidget*>(list_)}) {
        rows->addWidget(widget);
    }
    QFont bold = font();
    bold.setBold(true);
    title_->setFont(bold);
    title_->setTextFormat(Qt::PlainText);
    title_->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);
    hint_->setTextFormat(Qt::PlainText);
    hint_->setWordWrap(true);
    hint_->setMargin(4);
    paintWith(*hint_, kWaitingSignal);
    hint_->hide();
    field_->setPlaceholderText(Words::tr("Type a number or a name"));
    field_->setAccessibleName(texts.find);
    field_->setClearButtonEnabled(true);
    field_->installEventFilter(this);
    setFocusProxy(field_);
    connect(field_, &QLineEdit::textChanged, this, &FindPane::find);

    list_->setObjectName(texts.listName);
    list_->setAccessibleName(texts.tiles);
    list_->setModel(&matches_);
    list_->setItemDelegate(delegate_);
    list_->setSelectionMode(QAbstractItemView::NoSelection);
    list_->setEditTriggers(QAbstractItemView::NoEditTriggers);
    list_->setFocusPolicy(Qt::NoFocus);
    list_->setUniformItemSizes(true);
    list_->setResizeMode(QListView::Adjust);
    list_->setFlow(QListView::LeftToRight);
    list_->setWrapping(true);
    list_->setVerticalScrollMode(QAbstractItemView::ScrollPerPixel);
    list_->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    list_->setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOn);  // a bar that comes and goes would move the tiles
    list_->viewport()->installEventFilter(this);
    connect(list_, &QListView::clicked, this, &FindPane::chooseByClick);
    connect(&matches_, &QAbstractItemModel::modelReset, this, &FindPane::arrange);
}

void FindPane::sortByNumber() {
    matches_.sort(AttributesModel::numberColumn);
}

void FindPane::setTitle(const QString& title) {
    title_->setText(title);
    title_->setToolTip(toolTipOf(title));
}

void FindPane::arrange() {
    const int total = matches_.sourceModel()->rowCount();
    const int room = list_->viewport()->width() - 1;
    if (total == 0 || (total == arrangedTotal_ && room == arrangedRoom_)) return;
    arrangedTotal_ = total;
    arrangedRoom_ = room;
    const bool areTiles = total <= mostTiles_;
    const int labelHeight = QFontMetrics(TileDelegate::labelFont(list_->font())).height();
    const int height = labelHeight + 12 + (areTiles ? list_->fontMetrics().height() : 0);
    const int least = areTiles ? widthOfTiles() : kRowWidthInCharacters * list_->fontMetrics().averageCharWidth();
    const QSize size(room / std::max(1, room / least), height);
    delegate_->setSize(size);
    list_->setGridSize(size);
}

// So that the labels have room, within reason.
int FindPane::widthOfTiles() const {
    const int character = list_->fontMetrics().averageCharWidth();
    const QFontMetrics font(TileDelegate::labelFont(list_->font()));
    int width = kTileWidthInCharacters * character;
    for (int row = 0; row < matches_.rowCount() && width < kWideTileInCharacters * character; ++row) {
        const QModelIndex tile = matches_.index(row, 0);
        const int number = list_->fontMetrics().horizontalAdvance(tile.data(AttributesModel::numberRole).toString());
        const int label = font.horizontalAdvance(tile.data(AttributesModel::labelRole).toString());
        width = std::max(width, number + label + kMarginsInCharacters * character);
    }
    return std::min(width, kWideTileInCharacters * character);
}

void FindPane::find(const QString& text) {
    matches_.find(text);
    QString hint;
    if (const auto number = matches_.number()) {
        const QModelIndex match = matches_.rowWithNumber(*number);
        if (match.isValid()) {
            moveFrame(match);
        } else {
            hint = texts_.noNumber.arg(text.trimmed());
        }
    } else if (!text.trimmed().isEmpty()) {
        const QModelIndex only = matches_.rowCount() == 1 ? matches_.index(0, 0) : rowWithLabel(text.trimmed());
        moveFrame(only);
        if (matches_.rowCount() == 0) hint = texts_.noMatch.arg(text.trimmed());
        if (matches_.rowCount() > 1 && !only.isValid())
            hint = Words::tr("%n match: type more, or choose by the arrow keys.", nullptr, matches_.rowCount());
    }
    showHint(hint);
}

void FindPane::showHint(const QString& hint) {
    hint_->setText(hint);
    hint_->setVisible(!hint.isEmpty());
    placeHint();
}

void FindPane::placeHint() {
    const int width = list_->viewport()->width();
    const int height = hint_->heightForWidth(width);
    hint_->setGeometry(0, list_->height() - height, width, height);
}

QModelIndex FindPane::rowWithLabel(const QString& label) const {
    QModelIndex found;
    for (int row = 0; row < matches_.rowCount(); ++row) {
        const QModelIndex match = matches_.index(row, 0);
        if (match.data(AttributesModel::labelRole).toString().compare(label, Qt::CaseInsensitive) != 0) continue;
        if (found.isValid()) return {};
        found = match;
    }
    return found;
}

void FindPane::moveFrame(const QModelIndex& match) {
    list_->setCurrentIndex(match);
    if (match.isValid()) list_->scrollTo(match);
    list_->viewport()->update();
}

void FindPane::chooseByEnter() {
    const auto number = matches_.number();
    choose(number ? matches_.rowWithNumber(*number) : list_->currentIndex());
}

void FindPane::choose(const QModelIndex& match) {
    if (!match.isValid()) return;
    const QPersistentModelIndex chosen = matches_.mapToSource(match);
    field_->clear();
    moveFrame(matches_.mapFromSource(chosen));
    choose_(chosen);
}

// What was found stays until something else is typed: the second half of a double click must not meet another tile.
void FindPane::chooseByClick(const QModelIndex& match) {
    field_->selectAll();
    moveFrame(match);
    choose_(matches_.mapToSource(match));
}

bool FindPane::eventFilter(QObject* watched, QEvent* event) {
    if (watched == field_) {
        if (event->type() == QEvent::KeyPress) return handleKey(*static_cast<QKeyEvent*>(event));
        const bool isFocus = event->type() == QEvent::FocusIn || event->type() == QEvent::FocusOut;
        if (isFocus) list_->viewport()->update();
    } else if (event->type() == QEvent::MouseButtonPress) {
        field_->setFocus(Qt::MouseFocusReason);
    } else if (event->type() == QEvent::Resize) {
        followResize(static_cast<QResizeEvent*>(event)->oldSize());
    }
    return false;
}

// A framed tile that was to be seen stays so, also when a line above the panes takes room.
void FindPane::followResize(const QSize& old) {
    const QRect tile = list_->visualRect(list_->currentIndex());
    const bool wasSeen = tile.isValid() && tile.top() >= 0 && tile.bottom() <= old.height();
    arrange();
    placeHint();
    if (wasSeen) QTimer::singleShot(0, list_, [this] { list_->scrollTo(list_->currentIndex()); });
}

bool FindPane::handleKey(QKeyEvent& event) {
    switch (event.key()) {
        case Qt::Key_Up:
        case Qt::Key_Down:
        case Qt::Key_Left:
        case Qt::Key_Right:
        case Qt::Key_PageUp:
        case Qt::Key_PageDown:
            QCoreApplication::sendEvent(list_, &event);
            list_->viewport()->update();
            return true;
        case Qt::Key_Space:
            if (!field_->text().isEmpty()) return false;
            [[fallthrough]];
        case Qt::Key_Return:
        case Qt::Key_Enter:
            // A key that is held down must not route again and again.
            if (!event.isAutoRepeat()) chooseByEnter();
            return true;
        case Qt::Key_Escape:
            if (field_->text().isEmpty()) return false;
            field_->clear();
            return true;
        default:
            return false;
    }
}

}  // namespace velmora
