// Registry entries of <IOKit/IOKitLib.h>.

#include "ClientCalls.h"
#include "Iterators.h"
#include "String.h"

#include <CoreFoundation/CFNumber.h>
#include <IOKit/IOKitLib.h>

namespace LinuxPlatform {
namespace {

/// A new object with the property's value.
CFTypeRef makeObject(const PropertyValue& value) {
    if (const std::int32_t* number = std::get_if<std::int32_t>(&value))
        return CFNumberCreate(kCFAllocatorDefault, kCFNumberIntType, number);
    const std::string* text = std::get_if<std::string>(&value);
    return text ? makeString(*text) : nullptr;
}

std::optional<PropertyValue> copyProperty(const RegistryEntry& entry, const std::string& key) {
    const PropertyValue* value = entry.findProperty(key);
    return value ? std::optional<PropertyValue>(*value) : std::nullopt;
}

std::optional<PropertyValue> searchProperty(const RegistryEntry& entry, const std::string& key,
                                            IOOptionBits options) {
    std::optional<PropertyValue> value = copyProperty(entry, key);
    if (value || !(options & kIORegistryIterateRecursively))
        return value;
    const Direction direction =
        options & kIORegistryIterateParents ? Direction::Parents : Direction::Children;
    for (const EntryPointer& other : walk(entry, direction, true))
        if ((value = copyProperty(*other, key)))
            return value;
    return std::nullopt;
}

/// Reads under the lock, and creates the object after releasing it.
CFTypeRef findAndMakeObject(io_registry_entry_t entry, CFStringRef key, IOOptionBits options,
                            const char* function) {
    if (!key)
        return nullptr;
    const std::string keyText = textOf(key);
    std::optional<PropertyValue> value;
    {
        const auto server = RegistryServer::enter();
        EntryPointer found;
        if (find(server, entry, function, found) == KERN_SUCCESS)
            value = searchProperty(*found, keyText, options);
    }
    return value ? makeObject(*value) : nullptr;
}

kern_return_t makeWalk(io_registry_entry_t entry, const char* plane, Direction direction, bool recursive,
                       const char* function, io_iterator_t* iterator) {
    *iterator = IO_OBJECT_NULL;
    if (!isServicePlane(plane))
        return kIOReturnBadArgument;
    const auto server = RegistryServer::enter();
    EntryPointer start;
    const kern_return_t result = find(server, entry, function, start);
    if (result == KERN_SUCCESS)
        *iterator = server->handles().add(
            std::make_shared<WalkIterator>(server->entries(), std::move(start), direction, recursive));
    return result;
}

kern_return_t firstNeighbour(io_registry_entry_t entry, const char* plane, Direction direction,
                             const char* function, io_registry_entry_t* neighbour) {
    *neighbour = IO_OBJECT_NULL;
    if (!isServicePlane(plane))
        return kIOReturnBadArgument;
    const auto server = RegistryServer::enter();
    EntryPointer start;
    const kern_return_t result = find(server, entry, function, start);
    if (result != KERN_SUCCESS)
        return result;
    const auto neighbours = walk(*start, direction, false);
    if (neighbours.empty())
        return kIOReturnNoDevice;
    *neighbour = server->handles().add(neighbours.front());
    return KERN_SUCCESS;
}

} // namespace
} // namespace LinuxPlatform

using namespace LinuxPlatform;

io_registry_entry_t IORegistryGetRootEntry(mach_port_t) {
    const auto server = RegistryServer::enter(RegistryServer::Freshness::UpToDate);
    return server->handles().add(server->entries().root());
}

kern_return_t IORegistryEntryGetName(io_registry_entry_t entry, io_name_t name) {
    const auto server = RegistryServer::enter();
    EntryPointer found;
    const kern_return_t result = find(server, entry, "IORegistryEntryGetName", found);
    if (result == KERN_SUCCESS)
        copyCut(found->name(), name, sizeof(io_name_t));
    return result;
}

kern_return_t IORegistryEntryGetPath(io_registry_entry_t entry, const io_name_t plane, io_string_t path) {
    const auto server = RegistryServer::enter();
    EntryPointer found;
    const kern_return_t result = find(server, entry, "IORegistryEntryGetPath", found);
    if (result != KERN_SUCCESS)
        return result;
    if (!isServicePlane(plane))
        return kIOReturnBadArgument;
    const std::optional<std::string> text = found->path();
    if (!text)
        return kIOReturnNotAttached;
    return copyWhole(*text, path, sizeof(io_string_t)) ? KERN_SUCCESS : kIOReturnNoSpace;
}

kern_return_t IORegistryEntryGetRegistryEntryID(io_registry_entry_t entry, uint64_t* entryID) {
    const auto server = RegistryServer::enter();
    EntryPointer found;
    const kern_return_t result = find(server, entry, "IORegistryEntryGetRegistryEntryID", found);
    if (result == KERN_SUCCESS)
        *entryID = found->id();
    return result;
}

kern_return_t IORegistryEntryCreateCFProperties(io_registry_entry_t entry, CFMutableDictionaryRef* properties,
                                                CFAllocatorRef allocator, IOOptionBits) {
    *properties = nullptr;
    PropertyTable table;
    {
        const auto server = RegistryServer::enter();
        EntryPointer found;
        const kern_return_t result = find(server, entry, "IORegistryEntryCreateCFProperties", found);
        if (result != KERN_SUCCESS)
            return result;
        table = found->properties();
    }
    *properties = CFDictionaryCreateMutable(allocator, 0, &kCFTypeDictionaryKeyCallBacks,
                                            &kCFTypeDictionaryValueCallBacks);
    for (const auto& [key, value] : table) {
        const Owned<const String> keyObject(makeString(key));
        const CFTypeRef object = makeObject(value);
        CFDictionarySetValue(*properties, keyObject.get(), object);
        CFRelease(object);
    }
    return KERN_SUCCESS;
}

CFTypeRef IORegistryEntryCreateCFProperty(io_registry_entry_t entry, CFStringRef key, CFAllocatorRef,
                                          IOOptionBits) {
    return findAndMakeObject(entry, key, 0, "IORegistryEntryCreateCFProperty");
}

CFTypeRef IORegistryEntrySearchCFProperty(io_registry_entry_t entry, const io_name_t plane, CFStringRef key,
                                          CFAllocatorRef, IOOptionBits options) {
    // The plane only says along which edges to search; the entry's own properties are the same in every
    // plane.
    const IOOptionBits usable = isServicePlane(plane) ? options : 0;
    return findAndMakeObject(entry, key, usable, "IORegistryEntrySearchCFProperty");
}

kern_return_t IORegistryEntryGetChildIterator(io_registry_entry_t entry, const io_name_t plane,
                                              io_iterator_t* iterator) {
    return makeWalk(entry, plane, Direction::Children, false, "IORegistryEntryGetChildIterator", iterator);
}

kern_return_t IORegistryEntryGetParentIterator(io_registry_entry_t entry, const io_name_t plane,
                                               io_iterator_t* iterator) {
    return makeWalk(entry, plane, Direction::Parents, false, "IORegistryEntryGetParentIterator", iterator);
}

kern_return_t IORegistryEntryCreateIterator(io_registry_entry_t entry, const io_name_t plane,
                                            IOOptionBits options, io_iterator_t* iterator) {
    const Direction direction =
        options & kIORegistryIterateParents ? Direction::Parents : Direction::Children;
    return makeWalk(entry, plane, direction, options & kIORegistryIterateRecursively,
                    "IORegistryEntryCreateIterator", iterator);
}

kern_return_t IORegistryEntryGetParentEntry(io_registry_entry_t entry, const io_name_t plane,
                                            io_registry_entry_t* parent) {
    return firstNeighbour(entry, plane, Direction::Parents, "IORegistryEntryGetParentEntry", parent);
}

kern_return_t IORegistryEntryGetChildEntry(io_registry_entry_t entry, const io_name_t plane,
                                           io_registry_entry_t* child) {
    return firstNeighbour(entry, plane, Direction::Children, "IORegistryEntryGetChildEntry", child);
}
