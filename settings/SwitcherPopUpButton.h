// The chooser of the switch server: a combo box that acts only on a deliberate pick from its list.
#pragma once

#include <QComboBox>
#include <string>
#include <vector>

#include "settings/SettingsControls.h"

namespace velmora {

// The signal activated() is the user's pick, the present item included; nothing that the program does emits it. Turning
// the wheel or pressing a key over the closed button picks nothing, because each pick makes a connection: keys open the
// list instead.
class SwitcherPopUpButton final : public QComboBox, public PopUpButton {
  public:
    explicit SwitcherPopUpButton(QWidget* parent);

    // An open list is closed without a pick.
    void removeAllItems() override;
    void addItemWithTitle(const std::string& title) override;
    void selectItemAtIndex(std::int64_t index) override;
    void selectItemWithTitle(const std::string& title) override;
    // Changes nothing and returns false if there is no such item.
    bool selectAvailableItemWithTitle(const std::string& title);
    std::optional<std::string> titleOfSelectedItem() const override;

  protected:
    void paintEvent(QPaintEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;

  private:
    void showSelection(int index, const QString& textWithoutSelection);

    std::vector<std::string> titles_;  // as they came; the items show them with control characters made visible
};

}  // namespace velmora
