// The crosspoint matrix on the screen.
#pragma once

#include <QTableView>
#include <functional>

#include "host/workbench/grid/CrosspointModel.h"

namespace velmora {

// Main thread. A click, Enter or Space on a crosspoint chooses it. Row and column under the pointer are lit.
class CrosspointTable final : public QTableView {
  public:
    using Choose = std::function<void(const SalvoStep& step)>;

    // The model is not owned and outlives the table.
    CrosspointTable(CrosspointModel& model, Choose choose);

    // Invalid when the pointer is elsewhere.
    QModelIndex underPointer() const { return underPointer_; }

  protected:
    void mouseMoveEvent(QMouseEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    bool viewportEvent(QEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

  private:
    void choose(const QModelIndex& index);
    void light(const QModelIndex& index);

    CrosspointModel& crosspoints_;
    const Choose choose_;
    QPersistentModelIndex underPointer_;
};

}  // namespace velmora
