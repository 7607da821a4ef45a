#include "settings/MenuPopUp.h"

#include <utility>

#include "platform/widgets/DisplayText.h"

namespace velmora {

void MenuPopUp::popUp(const QRect& cell, std::int64_t current, std::function<void(std::size_t index)> choose) {
    QStringList titles;
    titles.reserve(static_cast<qsizetype>(numberOfItems()));
    for (std::size_t i = 0; i < numberOfItems(); ++i) {
        titles.append(displayText(itemAtIndex(i).title));
    }
    ChoicePopUp::popUp(cell, titles, current, std::move(choose));
}

}  // namespace velmora
