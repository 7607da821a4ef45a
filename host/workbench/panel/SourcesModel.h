// The sources for the selected destination, and where each of them is.
#pragma once

#include <QAbstractListModel>
#include <QTimer>
#include <vector>

#include "host/Values.h"
#include "host/workbench/panel/RoutingState.h"

namespace velmora {

// Main thread. Has the roles of AttributesModel for numbers and labels; its marks are its own.
class SourcesModel final : public QAbstractListModel {
  public:
    enum Mark { onIt = 1, elsewhere = 2, waiting = 4 };

    // Not owned; it outlives the model.
    explicit SourcesModel(RoutingState& state);

    // As the plugin names it.
    const std::string& valueAtRow(int row) const { return values_.texts()[static_cast<std::size_t>(row)]; }

    int rowCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role) const override;

  private:
    void followState();
    std::vector<int> countDestinations() const;
    int marksAtRow(int row) const;
    // The destinations that have it, one a line.
    QString whereIs(int row) const;

    RoutingState& state_;
    QTimer news_;
    Values values_;
    int current_ = -1;
    int waiting_ = -1;
    std::vector<int> destinations_;  // how many have each source
};

}  // namespace velmora
