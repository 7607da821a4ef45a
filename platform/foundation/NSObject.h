// The root of the classes that are owned by counting: an identity, a lifetime and a description for the log.
#pragma once

#include <memory>
#include <string>

namespace velmora {

// Objects are made with std::make_shared and live as long as someone holds them. Any thread may hold one.
class NSObject : public std::enable_shared_from_this<NSObject> {
  public:
    NSObject() = default;
    NSObject(const NSObject&) = delete;
    NSObject& operator=(const NSObject&) = delete;
    virtual ~NSObject();

    // Class name and identity, as in "<TCPMatrixSwitcher: 0x55d0c8a0>".
    virtual std::string description() const;
};

}  // namespace velmora
