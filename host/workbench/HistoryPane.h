// Beneath the views: the routes that have changed, to be saved, and the plugin's log.
#pragma once

#include <QTabWidget>
#include <filesystem>
#include <functional>

#include "host/workbench/LogFeed.h"
#include "host/workbench/RouteHistory.h"
#include "host/workbench/WorkbenchSession.h"

class QPlainTextEdit;

namespace velmora {

// Main thread.
class HistoryPane final : public QTabWidget {
  public:
    // Not owned; outlives the pane. `save` is called when the history is to be saved.
    HistoryPane(WorkbenchSession& session, std::function<void()> save);
    ~HistoryPane() override;

    Result<void> saveHistory(const std::filesystem::path& file) const;
    void showLog(const LogFeed::Lines& lines);

  private:
    QWidget* makeHistory(std::function<void()> save);
    QWidget* makeLog();

    WorkbenchSession& session_;
    RouteHistory history_;
    QPlainTextEdit* log_ = nullptr;
};

}  // namespace velmora
