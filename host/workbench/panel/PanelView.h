// The panel: destinations on the left, the sources for the selected one on the right, and both stay.
#pragma once

#include <QWidget>

#include "host/workbench/panel/RoutingState.h"
#include "host/workbench/panel/SourcesModel.h"
#include "host/workbench/panel/Tile.h"

class QSplitter;

namespace velmora {

class FindPane;

// Main thread.
class PanelView final : public QWidget {
  public:
    // Not owned; it outlives the view.
    explicit PanelView(RoutingState& state);

  protected:
    void resizeEvent(QResizeEvent* event) override;

  private:
    Tile destinationTile(const QModelIndex& index, const Tints& tints) const;
    static Tile sourceTile(const QModelIndex& index, const Tints& tints);
    void chooseDestination(const QModelIndex& index);
    void followState();

    RoutingState& state_;
    SourcesModel sourcesModel_;
    QSplitter* const sides_;
    FindPane* const destinations_;
    FindPane* const sources_;
};

}  // namespace velmora
