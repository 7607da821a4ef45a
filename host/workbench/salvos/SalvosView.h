// Salvos: several routes that are taken, kept and fired together.
#pragma once

#include <QTimer>
#include <QWidget>
#include <filesystem>

#include "host/workbench/salvos/SalvoModel.h"

class QPushButton;
class QTableView;

namespace velmora {

class LinesLabel;

// Main thread.
class SalvosView final : public QWidget {
  public:
    // Not owned; it outlives the view.
    explicit SalvosView(RoutingState& state);

    void load(const std::filesystem::path& path);
    void save(const std::filesystem::path& path);

  private:
    QWidget* makeButtons();
    void makeTable();
    void take();
    void fire();
    void askWhereToLoad();
    void askWhereToSave();
    void removeSelected();
    bool mayFireWith(const QString& doubts);
    void showState();

    RoutingState& state_;
    SalvoModel model_;
    QTableView* const table_;
    LinesLabel* const summary_;
    QString file_;  // that the salvo was loaded from or saved in, quoted; "" for none
    QTimer news_;
    QPushButton* take_ = nullptr;
    QPushButton* fire_ = nullptr;
    QPushButton* save_ = nullptr;
    QPushButton* remove_ = nullptr;
    QPushButton* load_ = nullptr;
};

}  // namespace velmora
