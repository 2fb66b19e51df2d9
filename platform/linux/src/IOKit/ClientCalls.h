#pragma once

// What the calls of <IOKit/IOKitLib.h> share: finding the object of a client's reference, and the error if
// there is none.

#include "RegistryServer.h"

#include <string_view>

namespace LinuxPlatform {

/// KERN_SUCCESS and the object; KERN_INVALID_NAME for an invalid reference, which is reported unless it is 0.
kern_return_t findObject(const RegistryServer::Access& server, io_object_t handle, const char* function,
                         std::shared_ptr<RegistryObject>& object);

/// As above; KERN_INVALID_ARGUMENT for a reference to an object that is no T.
template <class T>
kern_return_t find(const RegistryServer::Access& server, io_object_t handle, const char* function,
                   std::shared_ptr<T>& found) {
    std::shared_ptr<RegistryObject> object;
    const kern_return_t result = findObject(server, handle, function, object);
    if (result != KERN_SUCCESS)
        return result;
    found = std::dynamic_pointer_cast<T>(object);
    return found ? KERN_SUCCESS : KERN_INVALID_ARGUMENT;
}

/// Releases one reference. If it was the last one, the object is destroyed under the lock.
kern_return_t releaseReference(const RegistryServer::Access& server, io_object_t handle,
                               const char* function);

/// Copies a text with its final NUL; if it does not fit, false and an empty text.
bool copyWhole(std::string_view text, char* to, std::size_t size);
/// Copies as many whole UTF-8 characters as fit.
void copyCut(std::string_view text, char* to, std::size_t size);

bool isServicePlane(const char* plane);

} // namespace LinuxPlatform
