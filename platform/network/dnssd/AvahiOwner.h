// What Avahi makes, freed with its owner.
#pragma once

#include <memory>

namespace velmora {

template <auto free>
struct FreedBy {
    template <typename Object>
    void operator()(Object* object) const {
        free(object);
    }
};

template <typename Object, auto free>
using AvahiOwner = std::unique_ptr<Object, FreedBy<free>>;

}  // namespace velmora
