#include "host/workbench/panel/PanelView.h"

#include <QListView>
#include <QResizeEvent>
#include <QSplitter>
#include <QVBoxLayout>
#include <limits>

#include "host/workbench/NumberedText.h"
#include "host/workbench/Words.h"
#include "host/workbench/panel/ControlBar.h"
#include "host/workbench/panel/FindPane.h"
#include "platform/widgets/DisplayText.h"

namespace velmora {

namespace {

constexpr int kMostSourceTiles = 64;
constexpr int kNarrow = 560;

}  // namespace

PanelView::PanelView(RoutingState& state)
    : state_(state),
      sourcesModel_(state),
      sides_(new QSplitter),
      destinations_(new FindPane(
          FindPane::Texts{"destinationList", Words::tr("Find a destination"), Words::tr("Destinations"),
                          Words::tr("There is no destination %1."), Words::tr("No destination contains \"%1\".")},
          state.attributes(), std::numeric_limits<int>::max(),
          [this](const QModelIndex& index, const Tints& tints) { return destinationTile(index, tints); },
          [this](const QModelIndex& index) { chooseDestination(index); })),
      sources_(new FindPane({"sourceList", Words::tr("Find a source"), Words::tr("Sources"),
                             Words::tr("There is no source %1."), Words::tr("No source contains \"%1\".")},
                            sourcesModel_, kMostSourceTiles, &PanelView::sourceTile, [this](const QModelIndex& index) {
                                state_.choose(sourcesModel_.valueAtRow(index.row()));
                            })) {
    destinations_->sortByNumber();
    sides_->addWidget(destinations_);
    sides_->addWidget(sources_);
    sides_->setChildrenCollapsible(false);
    auto* const rows = new QVBoxLayout(this);
    rows->setContentsMargins(0, 0, 0, 0);
    rows->addWidget(sides_, 1);
    rows->addWidget(new ControlBar(state));
    setFocusProxy(destinations_);
    state.observe([this] { followState(); });
    followState();
}

void PanelView::chooseDestination(const QModelIndex& index) {
    state_.select(state_.attributes().nameAtRow(index.row()));
}

Tile PanelView::destinationTile(const QModelIndex& index, const Tints& tints) const {
    const int marks = index.data(AttributesModel::marksRole).toInt();
    const std::string& name = state_.attributes().nameAtRow(index.row());
    const bool isWaiting = state_.waiting() && state_.waiting()->name == name;
    Tile tile;
    tile.number = index.data(AttributesModel::numberRole).toString();
    tile.label = index.data(AttributesModel::labelRole).toString();
    tile.below = numberedText(index.data(AttributesModel::sourceNumberRole).toString(),
                              index.data(AttributesModel::sourceLabelRole).toString());
    tile.isBelowDimmed = marks & AttributesModel::notKnown;
    tile.isFlashing = marks & AttributesModel::changedElsewhere;
    tile.frame = isWaiting                         ? Tile::Frame::waiting
                 : name == state_.destination()    ? Tile::Frame::selected
                 : marks & AttributesModel::failed ? Tile::Frame::failed
                                                   : Tile::Frame::thin;
    if (marks & AttributesModel::failed) tile.signs.push_back({"\u2717 " + Words::tr("failed"), tints.failure()});
    if (marks & AttributesModel::locked) tile.signs.push_back({Words::tr("locked"), tints.warning()});
    if (marks & AttributesModel::edited) tile.signs.push_back({"\u270E", tints.warning()});
    if (marks & AttributesModel::differsFromDefault) tile.signs.push_back({"\u2260", tints.warning()});
    if (marks & AttributesModel::notKnown) tile.signs.push_back({"?", tints.dimmed()});
    return tile;
}

Tile PanelView::sourceTile(const QModelIndex& index, const Tints& tints) {
    const int marks = index.data(AttributesModel::marksRole).toInt();
    Tile tile;
    tile.number = index.data(AttributesModel::numberRole).toString();
    tile.label = index.data(AttributesModel::labelRole).toString();
    tile.isLit = marks & SourcesModel::onIt;
    tile.isDotted = marks & SourcesModel::elsewhere;
    if (marks & SourcesModel::waiting) {
        tile.frame = Tile::Frame::waiting;
        tile.signs.push_back({Words::tr("preset"), tints.warning()});
    }
    return tile;
}

void PanelView::followState() {
    const std::string& destination = state_.destination();
    destinations_->setTitle(
        state_.isExchanging() ? Words::tr("Choose the destination to exchange with %1").arg(state_.titleOf(destination))
                              : Words::tr("Destinations"));
    sources_->setTitle(destination.empty() ? Words::tr("Select a destination to see its sources")
                                           : Words::tr("Sources for %1").arg(state_.titleOf(destination)));
    for (const FindPane* const pane : {destinations_, sources_}) {
        pane->list().viewport()->update();
    }
}

void PanelView::resizeEvent(QResizeEvent* event) {
    sides_->setOrientation(event->size().width() < kNarrow ? Qt::Vertical : Qt::Horizontal);
    QWidget::resizeEvent(event);
}

}  // namespace velmora
