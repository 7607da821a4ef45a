// A salvo as a table: what it sets, what there is now, and what came of it when it was fired.
#pragma once

#include <QAbstractTableModel>
#include <optional>
#include <string>

#include "host/Salvo.h"
#include "host/workbench/panel/RoutingState.h"
#include "host/workbench/salvos/SalvoRun.h"

namespace velmora {

// Main thread.
class SalvoModel final : public QAbstractTableModel {
  public:
    enum Column { destinationColumn, sourceColumn, nowColumn, stateColumn, columnTotal };

    // Not owned; it outlives the model.
    explicit SalvoModel(RoutingState& state);

    // With the values that are meant by those that were handed over: a value goes by its number, however the salvo
    // calls it.
    Salvo salvo() const;
    // Not while it is firing.
    void setSalvo(const Salvo& salvo);
    // The known routes of all destinations.
    Salvo currentRoutes() const;
    void removeRow(int row);
    // Why it must not be fired as it is, for half a salvo may be worse than none; "" when it may.
    QString objection() const;
    // The steps that call their value otherwise than it is called now, in words, one a line; "" for none.
    QString doubts() const;
    void fire();
    bool isFiring() const { return run_.isFiring(); }
    // How many steps are not as the destinations are, and of how many that is not known.
    struct Differences {
        int differing = 0;
        int unknown = 0;
    };
    Differences differences() const;

    int rowCount(const QModelIndex& parent = {}) const override;
    int columnCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role) const override;

  private:
    enum class Difference { none, some, unknown, impossible };
    std::string meantAt(int row) const;
    // How the value that is meant is called now, where the salvo calls it otherwise.
    std::optional<std::string> calledOtherwiseAt(int row) const;
    Difference differenceAt(int row) const;
    QString stateText(int row) const;
    QString nowText(int row) const;
    void emitAllChanged();

    RoutingState& state_;
    Salvo salvo_;
    SalvoRun run_;
};

}  // namespace velmora
