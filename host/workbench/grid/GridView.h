// The grid: all routes as a crosspoint matrix that sets them.
#pragma once

#include <QWidget>

#include "host/workbench/grid/CrosspointModel.h"
#include "host/workbench/panel/RoutingState.h"

namespace velmora {

// Main thread.
class GridView final : public QWidget {
  public:
    // Not owned; it outlives the view.
    explicit GridView(RoutingState& state);

  private:
    CrosspointModel model_;
};

}  // namespace velmora
