// The menu of a column's pop-up cells: its items, and the window that lets the user choose one of them.
#pragma once

#include "platform/widgets/ChoicePopUp.h"
#include "settings/SettingsControls.h"

namespace velmora {

class MenuPopUp final : public ChoicePopUp, public Menu {
  public:
    using ChoicePopUp::ChoicePopUp;

    // Opens at a cell (a rectangle of the screen) on the item with the index `current` or, for an index without an
    // item, on none. `choose` is called with the index of the item that the user has chosen.
    void popUp(const QRect& cell, std::int64_t current, std::function<void(std::size_t index)> choose);
};

}  // namespace velmora
