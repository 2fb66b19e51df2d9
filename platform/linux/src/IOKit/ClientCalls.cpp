#include "ClientCalls.h"

#include "Diagnostics.h"

#include <IOKit/IOKitKeys.h>

#include <cstring>

namespace LinuxPlatform {

kern_return_t findObject(const RegistryServer::Access& server, io_object_t handle, const char* function,
                         std::shared_ptr<RegistryObject>& object) {
    object = server->handles().find(handle);
    if (object)
        return KERN_SUCCESS;
    if (handle != IO_OBJECT_NULL)
        complain("IOKit: %s of %#x, which is no live reference: released too often?", function, handle);
    return KERN_INVALID_NAME;
}

kern_return_t releaseReference(const RegistryServer::Access& server, io_object_t handle,
                               const char* function) {
    std::shared_ptr<RegistryObject> last;
    if (server->handles().release(handle, last))
        return KERN_SUCCESS;
    std::shared_ptr<RegistryObject> none;
    return findObject(server, handle, function, none);
}

bool copyWhole(std::string_view text, char* to, std::size_t size) {
    if (text.size() >= size) {
        to[0] = '\0';
        return false;
    }
    std::memcpy(to, text.data(), text.size());
    to[text.size()] = '\0';
    return true;
}

void copyCut(std::string_view text, char* to, std::size_t size) {
    std::size_t length = text.size();
    if (length >= size) {
        length = size - 1;
        const auto isInsideCharacter = [&text](std::size_t index) {
            return (static_cast<unsigned char>(text[index]) & 0xC0) == 0x80;
        };
        while (length > 0 && isInsideCharacter(length))
            --length;
    }
    copyWhole(text.substr(0, length), to, size);
}

bool isServicePlane(const char* plane) {
    return plane && std::strcmp(plane, kIOServicePlane) == 0;
}

} // namespace LinuxPlatform
