// Salvos: several routes that are taken, kept and fired together.
#pragma once

#include <QWidget>
#include <filesystem>

#include "host/workbench/salvos/SalvoModel.h"

class QLabel;
class QPushButton;
class QTableView;

namespace velmora {

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
    void showState();

    RoutingState& state_;
    SalvoModel model_;
    QTableView* const table_;
    QLabel* const summary_;
    QString file_;  // that the salvo was loaded from or saved in, quoted; "" for none
    QPushButton* fire_ = nullptr;
    QPushButton* save_ = nullptr;
    QPushButton* remove_ = nullptr;
};

}  // namespace velmora
