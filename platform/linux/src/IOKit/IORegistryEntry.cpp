// Registry entries of <IOKit/IOKitLib.h>.

#include "ClientCalls.h"
#include "Iterators.h"
#include "String.h"

#include <CoreFoundation/CFNumber.h>
#include <IOKit/IOKitLib.h>

namespace LinuxPlatform {
namespace {

/// A new object with the property's value.
CFTypeRef MakeObject(const PropertyValue& value) {
    if (const std::int32_t* number = std::get_if<std::int32_t>(&value))
        return CFNumberCreate(kCFAllocatorDefault, kCFNumberIntType, number);
    const std::string* text = std::get_if<std::string>(&value);
    return text ? MakeString(*text) : nullptr;
}

std::optional<PropertyValue> CopyProperty(const RegistryEntry& entry, const std::string& key) {
    const PropertyValue* value = entry.FindProperty(key);
    return value ? std::optional<PropertyValue>(*value) : std::nullopt;
}

std::optional<PropertyValue> SearchProperty(const RegistryEntry& entry, const std::string& key,
                                            IOOptionBits options) {
    std::optional<PropertyValue> value = CopyProperty(entry, key);
    if (value || !(options & kIORegistryIterateRecursively))
        return value;
    const Direction direction =
        options & kIORegistryIterateParents ? Direction::Parents : Direction::Children;
    for (const EntryPointer& other : Walk(entry, direction, true)) {
        if ((value = CopyProperty(*other, key)))
            return value;
    }
    return std::nullopt;
}

/// Reads under the lock, and makes the object after it.
CFTypeRef FindAndMakeObject(io_registry_entry_t entry, CFStringRef key, IOOptionBits options,
                            const char* function) {
    if (!key)
        return nullptr;
    const std::string keyText = TextOf(key);
    std::optional<PropertyValue> value;
    {
        const auto server = RegistryServer::Enter();
        EntryPointer found;
        if (Find(server, entry, function, found) == KERN_SUCCESS)
            value = SearchProperty(*found, keyText, options);
    }
    return value ? MakeObject(*value) : nullptr;
}

kern_return_t MakeWalk(io_registry_entry_t entry, const char* plane, Direction direction, bool recursive,
                       const char* function, io_iterator_t* iterator) {
    *iterator = IO_OBJECT_NULL;
    if (!IsServicePlane(plane))
        return kIOReturnBadArgument;
    const auto server = RegistryServer::Enter();
    EntryPointer start;
    const kern_return_t result = Find(server, entry, function, start);
    if (result == KERN_SUCCESS)
        *iterator = server->Handles().Add(
            std::make_shared<WalkIterator>(server->Entries(), std::move(start), direction, recursive));
    return result;
}

kern_return_t FirstNeighbour(io_registry_entry_t entry, const char* plane, Direction direction,
                             const char* function, io_registry_entry_t* neighbour) {
    *neighbour = IO_OBJECT_NULL;
    if (!IsServicePlane(plane))
        return kIOReturnBadArgument;
    const auto server = RegistryServer::Enter();
    EntryPointer start;
    const kern_return_t result = Find(server, entry, function, start);
    if (result != KERN_SUCCESS)
        return result;
    const auto neighbours = Walk(*start, direction, false);
    if (neighbours.empty())
        return kIOReturnNoDevice;
    *neighbour = server->Handles().Add(neighbours.front());
    return KERN_SUCCESS;
}

} // namespace
} // namespace LinuxPlatform

using namespace LinuxPlatform;

io_registry_entry_t IORegistryGetRootEntry(mach_port_t) {
    const auto server = RegistryServer::Enter(RegistryServer::Freshness::UpToDate);
    return server->Handles().Add(server->Entries().Root());
}

kern_return_t IORegistryEntryGetName(io_registry_entry_t entry, io_name_t name) {
    const auto server = RegistryServer::Enter();
    EntryPointer found;
    const kern_return_t result = Find(server, entry, "IORegistryEntryGetName", found);
    if (result == KERN_SUCCESS)
        CopyCut(found->Name(), name, sizeof(io_name_t));
    return result;
}

kern_return_t IORegistryEntryGetPath(io_registry_entry_t entry, const io_name_t plane, io_string_t path) {
    const auto server = RegistryServer::Enter();
    EntryPointer found;
    const kern_return_t result = Find(server, entry, "IORegistryEntryGetPath", found);
    if (result != KERN_SUCCESS)
        return result;
    if (!IsServicePlane(plane))
        return kIOReturnBadArgument;
    const std::optional<std::string> text = found->Path();
    if (!text)
        return kIOReturnNotAttached;
    return CopyWhole(*text, path, sizeof(io_string_t)) ? KERN_SUCCESS : kIOReturnNoSpace;
}

kern_return_t IORegistryEntryGetRegistryEntryID(io_registry_entry_t entry, uint64_t* entryID) {
    const auto server = RegistryServer::Enter();
    EntryPointer found;
    const kern_return_t result = Find(server, entry, "IORegistryEntryGetRegistryEntryID", found);
    if (result == KERN_SUCCESS)
        *entryID = found->ID();
    return result;
}

kern_return_t IORegistryEntryCreateCFProperties(io_registry_entry_t entry, CFMutableDictionaryRef* properties,
                                                CFAllocatorRef allocator, IOOptionBits) {
    *properties = nullptr;
    PropertyTable table;
    {
        const auto server = RegistryServer::Enter();
        EntryPointer found;
        const kern_return_t result = Find(server, entry, "IORegistryEntryCreateCFProperties", found);
        if (result != KERN_SUCCESS)
            return result;
        table = found->Properties();
    }
    *properties = CFDictionaryCreateMutable(allocator, 0, &kCFTypeDictionaryKeyCallBacks,
                                            &kCFTypeDictionaryValueCallBacks);
    for (const auto& [key, value] : table) {
        const Owned<const String> keyObject(MakeString(key));
        const CFTypeRef object = MakeObject(value);
        CFDictionarySetValue(*properties, keyObject.Get(), object);
        CFRelease(object);
    }
    return KERN_SUCCESS;
}

CFTypeRef IORegistryEntryCreateCFProperty(io_registry_entry_t entry, CFStringRef key, CFAllocatorRef,
                                          IOOptionBits) {
    return FindAndMakeObject(entry, key, 0, "IORegistryEntryCreateCFProperty");
}

CFTypeRef IORegistryEntrySearchCFProperty(io_registry_entry_t entry, const io_name_t plane, CFStringRef key,
                                          CFAllocatorRef, IOOptionBits options) {
    // The plane only says along which edges to search; the entry's own properties belong to none.
    const IOOptionBits usable = IsServicePlane(plane) ? options : 0;
    return FindAndMakeObject(entry, key, usable, "IORegistryEntrySearchCFProperty");
}

kern_return_t IORegistryEntryGetChildIterator(io_registry_entry_t entry, const io_name_t plane,
                                              io_iterator_t* iterator) {
    return MakeWalk(entry, plane, Direction::Children, false, "IORegistryEntryGetChildIterator", iterator);
}

kern_return_t IORegistryEntryGetParentIterator(io_registry_entry_t entry, const io_name_t plane,
                                               io_iterator_t* iterator) {
    return MakeWalk(entry, plane, Direction::Parents, false, "IORegistryEntryGetParentIterator", iterator);
}

kern_return_t IORegistryEntryCreateIterator(io_registry_entry_t entry, const io_name_t plane,
                                            IOOptionBits options, io_iterator_t* iterator) {
    const Direction direction =
        options & kIORegistryIterateParents ? Direction::Parents : Direction::Children;
    return MakeWalk(entry, plane, direction, options & kIORegistryIterateRecursively,
                    "IORegistryEntryCreateIterator", iterator);
}

kern_return_t IORegistryEntryGetParentEntry(io_registry_entry_t entry, const io_name_t plane,
                                            io_registry_entry_t* parent) {
    return FirstNeighbour(entry, plane, Direction::Parents, "IORegistryEntryGetParentEntry", parent);
}

kern_return_t IORegistryEntryGetChildEntry(io_registry_entry_t entry, const io_name_t plane,
                                           io_registry_entry_t* child) {
    return FirstNeighbour(entry, plane, Direction::Children, "IORegistryEntryGetChildEntry", child);
}
