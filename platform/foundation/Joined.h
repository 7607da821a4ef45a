// Lists in a sentence.
#pragma once

#include <functional>
#include <string>

namespace velmora {

// The items as texts, each as `shown` makes it, with ", " between them.
template <typename List, typename Shown = std::identity>
std::string joined(const List& list, Shown shown = {}) {
    std::string text;
    for (const auto& item : list) {
        text.append(text.empty() ? "" : ", ").append(std::invoke(shown, item));
    }
    return text;
}

}  // namespace velmora
