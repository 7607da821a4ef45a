// The routes as a crosspoint matrix: destinations by number down, sources across.
#pragma once

#include <QAbstractTableModel>
#include <QTimer>
#include <optional>
#include <vector>

#include "host/Salvo.h"
#include "host/workbench/AttributesModel.h"
#include "host/workbench/panel/FindModel.h"

namespace velmora {

// Main thread. The sources are all possible values of all attributes; where these differ, not every crosspoint can be
// set. Attributes without possible values have no row.
class CrosspointModel final : public QAbstractTableModel {
  public:
    enum Cell { possible = 1, routed = 2, preset = 4 };

    // Not owned; it outlives the model.
    explicit CrosspointModel(AttributesModel& attributes);

    // Words hide what does not contain them, a number hides everything else.
    void findDestinations(const QString& text);
    void findSources(const QString& text);
    void setWaiting(const std::optional<SalvoStep>& step);

    // Cells and marks (of AttributesModel), as bits.
    int cellAt(int row, int column) const;
    int marksAtRow(int row) const;
    const std::string& destinationAtRow(int row) const;
    // What has to be set for a crosspoint; none when it is not possible.
    std::optional<SalvoStep> stepAt(const QModelIndex& index) const;

    int rowCount(const QModelIndex& parent = {}) const override;
    int columnCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role) const override;

  private:
    struct Destination {
        int attribute;    // its row there
        int source = -1;  // among all sources
        int preset = -1;  // likewise
    };
    void follow();
    Values allSources();
    std::vector<Destination> foundDestinations(const Values& sources) const;
    std::vector<int> foundSources(const Values& sources) const;
    QString sourceText(int column) const;
    QString destinationText(int row) const;

    AttributesModel& attributes_;
    FindModel sorted_;
    QTimer news_;
    QString wantedSources_;
    QString wantedDestinations_;
    std::optional<SalvoStep> waiting_;
    Values sources_;
    bool areAllPossible_ = true;
    std::vector<Destination> destinations_;
    std::vector<int> columns_;  // those of the sources that are shown
};

}  // namespace velmora
