// The menu of a column's pop-up cells: its items, and the window that lets the user choose one of them.
#pragma once

#include "platform/widgets/ChoicePopUp.h"
#include "settings/SettingsControls.h"

namespace velmora {

class MenuPopUp final : public ChoicePopUp, public Menu {
  public:
    using ChoicePopUp::ChoicePopUp;
};

}  // namespace velmora
