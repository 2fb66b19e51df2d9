#include "ClientCalls.h"

#include "Diagnostics.h"

#include <IOKit/IOKitKeys.h>

#include <cstring>

namespace LinuxPlatform {

kern_return_t FindObject(const RegistryServer::Access& server, io_object_t handle, const char* function,
                         std::shared_ptr<RegistryObject>& object) {
    object = server->Handles().Find(handle);
    if (object)
        return KERN_SUCCESS;
    if (handle != IO_OBJECT_NULL)
        Complain("IOKit: %s of %#x, which is no live reference: released too often?", function, handle);
    return KERN_INVALID_NAME;
}

kern_return_t ReleaseReference(const RegistryServer::Access& server, io_object_t handle,
                               const char* function) {
    std::shared_ptr<RegistryObject> last;
    if (server->Handles().Release(handle, last))
        return KERN_SUCCESS;
    std::shared_ptr<RegistryObject> none;
    return FindObject(server, handle, function, none);
}

bool CopyWhole(std::string_view text, char* to, std::size_t size) {
    if (text.size() >= size) {
        to[0] = '\0';
        return false;
    }
    std::memcpy(to, text.data(), text.size());
    to[text.size()] = '\0';
    return true;
}

void CopyCut(std::string_view text, char* to, std::size_t size) {
    std::size_t length = text.size();
    if (length >= size) {
        length = size - 1;
        const auto isInsideCharacter = [&text](std::size_t index) {
            return (static_cast<unsigned char>(text[index]) & 0xC0) == 0x80;
        };
        while (length > 0 && isInsideCharacter(length))
            --length;
    }
    CopyWhole(text.substr(0, length), to, size);
}

bool IsServicePlane(const char* plane) {
    return plane && std::strcmp(plane, kIOServicePlane) == 0;
}

} // namespace LinuxPlatform
