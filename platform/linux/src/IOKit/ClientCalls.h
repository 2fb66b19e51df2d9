#pragma once

// What the calls of <IOKit/IOKitLib.h> have in common: from a client's reference to the object, with the
// error that the client gets when there is none.

#include "RegistryServer.h"

#include <string_view>

namespace LinuxPlatform {

/// KERN_SUCCESS and the object; or KERN_INVALID_NAME for what is no reference, which is reported when it is
/// not 0.
kern_return_t findObject(const RegistryServer::Access& server, io_object_t handle, const char* function,
                         std::shared_ptr<RegistryObject>& object);

/// As above; KERN_INVALID_ARGUMENT for a reference to something else than a T.
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

/// Gives up one reference. An object that dies of it is destroyed under the lock.
kern_return_t releaseReference(const RegistryServer::Access& server, io_object_t handle,
                               const char* function);

/// Copies a text that must fit with its final zero byte; false, and an empty text, when it does not.
bool copyWhole(std::string_view text, char* to, std::size_t size);
/// Copies as many whole UTF-8 characters as fit.
void copyCut(std::string_view text, char* to, std::size_t size);

bool isServicePlane(const char* plane);

} // namespace LinuxPlatform
