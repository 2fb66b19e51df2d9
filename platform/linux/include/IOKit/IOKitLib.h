#pragma once

// The device registry: a tree of services, found by matching dictionaries and watched through notification
// ports. docs/platforms.md describes the entries that this host publishes.
//
// References. Every io_object_t that a call returns (or stores) is a reference of its own and is released
// with IOObjectRelease; two references to the same service have the same value while both live. A reference
// keeps working after its service has left the registry: it has properties, class and name, but no path.
//
// Threads. Every function may be called from any thread. Callbacks run only inside the run loop that holds
// their port's source, never from within a call here.
//
// Errors. 0 is success. A reference that is not (or no longer) one gives KERN_INVALID_NAME, and is reported
// on standard error: it means that something was released too often.

#include <CoreFoundation/CFBase.h>
#include <CoreFoundation/CFDictionary.h>
#include <CoreFoundation/CFRunLoop.h>
#include <IOKit/IOKitKeys.h>
#include <IOKit/IOReturn.h>
#include <IOKit/IOTypes.h>

typedef struct IONotificationPort* IONotificationPortRef;

/// Services wait in the iterator. The callback drains it (until IOIteratorNext gives 0), which arms it again.
typedef void (*IOServiceMatchingCallback)(void* refcon, io_iterator_t iterator);
/// `service` is borrowed. `messageType` is one of <IOKit/IOMessage.h>.
typedef void (*IOServiceInterestCallback)(void* refcon, io_service_t service, uint32_t messageType,
                                          void* messageArgument);

enum { kIORegistryIterateRecursively = 0x00000001, kIORegistryIterateParents = 0x00000002 };

CF_EXPORT const mach_port_t kIOMasterPortDefault;
CF_EXPORT const mach_port_t kIOMainPortDefault;

/// Both arguments only name the one registry there is.
CF_EXPORT kern_return_t IOMasterPort(mach_port_t bootstrapPort, mach_port_t* masterPort);

// -- Notification ports

/// NULL when the system has no descriptor left for it.
CF_EXPORT IONotificationPortRef IONotificationPortCreate(mach_port_t masterPort);
/// Also invalidates the port's run-loop source. Notifications of the port deliver nothing any more, but their
/// references are still to be released.
CF_EXPORT void IONotificationPortDestroy(IONotificationPortRef notify);
/// Borrowed: lives as long as the port.
CF_EXPORT CFRunLoopSourceRef IONotificationPortGetRunLoopSource(IONotificationPortRef notify);

/// What messages come to the port by; MACH_PORT_NULL when none will come, because nothing tells this system
/// of devices that arrive or leave (standard error says why). To receive is the run-loop source's part.
CF_EXPORT mach_port_t IONotificationPortGetMachPort(IONotificationPortRef notify);

// -- References

CF_EXPORT kern_return_t IOObjectRetain(io_object_t object);
/// Releasing the reference to a notification ends the notification: its callback is not called any more, not
/// even for what has happened already.
CF_EXPORT kern_return_t IOObjectRelease(io_object_t object);
CF_EXPORT kern_return_t IOObjectGetClass(io_object_t object, io_name_t className);
CF_EXPORT CFStringRef IOObjectCopyClass(io_object_t object);
/// TRUE for the object's class and for every class that it derives from.
CF_EXPORT boolean_t IOObjectConformsTo(io_object_t object, const io_name_t className);
CF_EXPORT boolean_t IOObjectIsEqualTo(io_object_t object, io_object_t anObject);
CF_EXPORT uint32_t IOObjectGetRetainCount(io_object_t object);

// -- Iterators

/// A new reference, or 0 at the end, and 0 when the iterator is no longer valid. For the iterator of a
/// matching notification, the 0 at the end arms the notification.
CF_EXPORT io_object_t IOIteratorNext(io_iterator_t iterator);
/// Begins again from the start, and makes an invalid iterator valid. No effect on that of a notification.
CF_EXPORT void IOIteratorReset(io_iterator_t iterator);
/// FALSE once the registry has changed under an iterator over it.
CF_EXPORT boolean_t IOIteratorIsValid(io_iterator_t iterator);

// -- Finding services

/// A matching dictionary for a class and all classes that derive from it; the caller owns it, and hands it
/// over to one of the calls below. NULL for a NULL name.
CF_EXPORT CFMutableDictionaryRef IOServiceMatching(const char* name);
CF_EXPORT CFMutableDictionaryRef IOServiceNameMatching(const char* name);

/// One reference of `matching` is consumed, whatever the result. Services that are there now, parents first.
CF_EXPORT io_service_t IOServiceGetMatchingService(mach_port_t masterPort, CFDictionaryRef matching);
CF_EXPORT kern_return_t IOServiceGetMatchingServices(mach_port_t masterPort, CFDictionaryRef matching,
                                                     io_iterator_t* existing);

/// One reference of `matching` is consumed, whatever the result. `notification` receives an iterator over
/// what matches now; it has to be drained once, which arms the notification. Each service comes once per
/// notification; where the type does not name the first time, again when it is published or matched again.
/// kIOReturnUnsupported for an unknown type.
CF_EXPORT kern_return_t IOServiceAddMatchingNotification(IONotificationPortRef notifyPort,
                                                         const io_name_t notificationType,
                                                         CFDictionaryRef matching,
                                                         IOServiceMatchingCallback callback, void* refCon,
                                                         io_iterator_t* notification);
/// Messages about one service, until `notification` is released; about one that has left already, its end at
/// once, where a Mac's kernel returns an error. kIOReturnUnsupported for an unknown type.
CF_EXPORT kern_return_t IOServiceAddInterestNotification(IONotificationPortRef notifyPort,
                                                         io_service_t service, const io_name_t interestType,
                                                         IOServiceInterestCallback callback, void* refCon,
                                                         io_object_t* notification);

// -- Registry entries

CF_EXPORT io_registry_entry_t IORegistryGetRootEntry(mach_port_t masterPort);
/// UTF-8; a name that is too long for an io_name_t is cut at the end of a character.
CF_EXPORT kern_return_t IORegistryEntryGetName(io_registry_entry_t entry, io_name_t name);
/// UTF-8, "IOService:/...". kIOReturnNoSpace when it does not fit into an io_string_t (nothing is cut),
/// kIOReturnNotAttached when the entry has left the registry, kIOReturnBadArgument for an unknown plane.
CF_EXPORT kern_return_t IORegistryEntryGetPath(io_registry_entry_t entry, const io_name_t plane,
                                               io_string_t path);
CF_EXPORT kern_return_t IORegistryEntryGetRegistryEntryID(io_registry_entry_t entry, uint64_t* entryID);
/// A new dictionary of new objects; the caller owns it.
CF_EXPORT kern_return_t IORegistryEntryCreateCFProperties(io_registry_entry_t entry,
                                                          CFMutableDictionaryRef* properties,
                                                          CFAllocatorRef allocator, IOOptionBits options);
/// A new object, or NULL when the entry has no such property.
CF_EXPORT CFTypeRef IORegistryEntryCreateCFProperty(io_registry_entry_t entry, CFStringRef key,
                                                    CFAllocatorRef allocator, IOOptionBits options);
/// As above; with kIORegistryIterateRecursively it then searches everything below the entry, nearest first,
/// or with kIORegistryIterateParents also set, above it.
CF_EXPORT CFTypeRef IORegistryEntrySearchCFProperty(io_registry_entry_t entry, const io_name_t plane,
                                                    CFStringRef key, CFAllocatorRef allocator,
                                                    IOOptionBits options);
CF_EXPORT kern_return_t IORegistryEntryGetChildIterator(io_registry_entry_t entry, const io_name_t plane,
                                                        io_iterator_t* iterator);
CF_EXPORT kern_return_t IORegistryEntryGetParentIterator(io_registry_entry_t entry, const io_name_t plane,
                                                         io_iterator_t* iterator);
/// Children, or with kIORegistryIterateParents parents, of the entry; with kIORegistryIterateRecursively all
/// the way, each entry once, without the entry itself.
CF_EXPORT kern_return_t IORegistryEntryCreateIterator(io_registry_entry_t entry, const io_name_t plane,
                                                      IOOptionBits options, io_iterator_t* iterator);
/// The first parent. kIOReturnNoDevice when there is none.
CF_EXPORT kern_return_t IORegistryEntryGetParentEntry(io_registry_entry_t entry, const io_name_t plane,
                                                      io_registry_entry_t* parent);
CF_EXPORT kern_return_t IORegistryEntryGetChildEntry(io_registry_entry_t entry, const io_name_t plane,
                                                     io_registry_entry_t* child);
