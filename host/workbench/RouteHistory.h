// The routes that have changed since the window was opened, the latest first.
#pragma once

#include <QAbstractTableModel>
#include <deque>
#include <functional>
#include <string>

#include "host/workbench/SessionListener.h"

namespace velmora {

// Main thread. Of very many changes it keeps the last ones.
class RouteHistory final : public QAbstractTableModel, public SessionListener {
  public:
    enum Column { timeColumn, destinationColumn, fromColumn, toColumn, byColumn, columnTotal };

    // `shownName` gives an attribute's name for a person.
    explicit RouteHistory(std::function<std::string(const std::string&)> shownName);

    void routeChanged(const RouteChange& change) override;
    void setFailed(const std::string& name, const std::string& why) override;

    // All of it, the earliest first, as a spreadsheet reads it. No field begins with a character that would make it a
    // formula there.
    std::string commaSeparatedValues() const;

    int rowCount(const QModelIndex& parent = {}) const override;
    int columnCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role) const override;

  private:
    struct Entry {
        RouteChange change;
        std::string destination;
        std::string failure;  // "" when it was done
    };
    void add(Entry entry);
    static std::string text(const Entry& entry, int column);

    const std::function<std::string(const std::string&)> shownName_;
    std::deque<Entry> entries_;  // the latest first
};

}  // namespace velmora
