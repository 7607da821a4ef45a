#include "platform/foundation/NSObject.h"

#include <cxxabi.h>

#include <QString>
#include <cstdlib>
#include <typeinfo>

#include "platform/foundation/Text.h"

namespace velmora {

namespace {

// The class name as its author wrote it, without the namespaces around it.
std::string className(const std::type_info& type) {
    int status = 0;
    const std::unique_ptr<char, decltype(&std::free)> readable(
        abi::__cxa_demangle(type.name(), nullptr, nullptr, &status), &std::free);
    std::string name = status == 0 ? readable.get() : type.name();
    const auto namespacesEnd = name.rfind("::", name.find('<'));
    return namespacesEnd == std::string::npos ? name : name.substr(namespacesEnd + 2);
}

}  // namespace

NSObject::~NSObject() = default;

std::string NSObject::description() const {
    // The address of the whole object, which is the same whatever base it is looked at through.
    const auto identity = reinterpret_cast<std::uintptr_t>(dynamic_cast<const void*>(this));
    return stringWithFormat("<%@: 0x%@>", className(typeid(*this)), QString::number(identity, 16).toStdString());
}

}  // namespace velmora
