// Compiled for both hosts: Linux has IOKit's calls, too.

#include "detail/RegistryReading.h"

#include "CallMarker.h"
#include "detail/CFOwned.h"

#include <IOKit/IOKitKeys.h>

namespace kf::detail {

bool readNumber(CFTypeRef object, SInt32& value) {
    TRACE_FUNCTION("readNumber");
    if (object == nullptr || CFGetTypeID(object) != CFNumberGetTypeID())
        return false;
    // The result only says whether the conversion was lossy; the stored number is usable anyway.
    CFNumberGetValue(static_cast<CFNumberRef>(object), kCFNumberSInt32Type, &value);
    return true;
}

bool readText(CFTypeRef object, std::string& value) {
    TRACE_FUNCTION("readText");
    if (object == nullptr || CFGetTypeID(object) != CFStringGetTypeID())
        return false;
    const CFStringRef text = static_cast<CFStringRef>(object);
    const CFRange all = CFRangeMake(0, CFStringGetLength(text));
    UInt8 buffer[256] = {};
    const CFIndex room = sizeof buffer - 1;
    CFIndex used = 0;
    const CFIndex converted =
        CFStringGetBytes(text, all, kCFStringEncodingUTF8, 0, false, buffer, room, &used);
    // It stopped early although even the longest character would have fitted: UTF-8 cannot represent the
    // text.
    const CFIndex longestCharacter = 4;
    if (converted < all.length && used + longestCharacter <= room)
        return false;
    value = reinterpret_cast<const char*>(buffer);
    return true;
}

std::string readName(io_registry_entry_t entry) {
    TRACE_FUNCTION("readName");
    io_name_t name = {};
    if (IORegistryEntryGetName(entry, name) != KERN_SUCCESS)
        return std::string();
    return name;
}

kern_return_t readPath(io_registry_entry_t entry, std::string& path) {
    TRACE_FUNCTION("readPath");
    io_string_t buffer = {};
    const kern_return_t result = IORegistryEntryGetPath(entry, kIOServicePlane, buffer);
    path = result == KERN_SUCCESS ? buffer : "";
    return result;
}

bool isBelow(const std::string& path, const std::string& devicePath) {
    TRACE_FUNCTION("isBelow");
    return !devicePath.empty() && path.find(devicePath) != std::string::npos;
}

void setNumber(CFMutableDictionaryRef matching, CFStringRef key, SInt32 value) {
    TRACE_FUNCTION("setNumber");
    const CFOwned<CFNumberRef> number(CFNumberCreate(kCFAllocatorDefault, kCFNumberSInt32Type, &value));
    CFDictionarySetValue(matching, key, number.get());
}

} // namespace kf::detail
