#pragma once

#include <memory>
#include <string_view>

namespace LinuxPlatform {

/// Anything that an io_object_t can refer to.
class RegistryObject : public std::enable_shared_from_this<RegistryObject> {
public:
    RegistryObject() = default;
    RegistryObject(const RegistryObject&) = delete;
    RegistryObject& operator=(const RegistryObject&) = delete;
    virtual ~RegistryObject() = default;

    virtual std::string_view className() const = 0;
};

} // namespace LinuxPlatform
