// What identifies a DNS-SD service.
#pragma once

#include <compare>
#include <string>

namespace velmora {

// Equal services have equal keys; those of one type and domain stand together in order.
struct ServiceKey {
    std::string type;    // as in "_matrixswitcher._tcp."
    std::string domain;  // as in "local."
    std::string name;    // raw UTF-8, nothing escaped

    friend auto operator<=>(const ServiceKey&, const ServiceKey&) = default;
};

inline constexpr const char* kDefaultDomain = "local.";

// The form in which types, domains and host names are reported and compared. An empty text stays empty.
inline std::string withTrailingDot(std::string name) {
    if (!name.empty() && name.back() != '.') name += '.';
    return name;
}

inline std::string normalisedDomain(std::string domain) {
    return domain.empty() ? kDefaultDomain : withTrailingDot(std::move(domain));
}

}  // namespace velmora
