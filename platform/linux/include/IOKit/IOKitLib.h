#pragma once

// The device registry: a tree of services, found by matching dictionaries and watched through notification
// ports. docs/platforms.md describes the entries that this host publishes.
//
// References. Every io_object_t that a call returns (or stores) is a reference of its own and is released
// with IOObjectRelease; two references to the same service have the same value while both exist. A reference
// keeps working after its service has left the registry: it has properties, class and name, but no path.
//
// Threads. Every function may be called from any thread. Callbacks run only inside the run loop that holds
// their port's source, never from within a call here.
//
// Errors. 0 is success. An invalid reference gives KERN_INVALID_NAME and is reported on standard error: it
// means that something was released too often.

#include <CoreFoundation/CFBase.h>
#include <CoreFoundation/CFDictionary.h>
#include <CoreFoundation/CFRunLoop.h>
#include <IOKit/IOKitKeys.h>
#include <IOKit/IOReturn.h>
#include <IOKit/IOTypes.h>

typedef struct IONotificationPort* IONotificationPortRef;

/// The services wait in the iterator. The callback drains it (until IOIteratorNext returns 0), which arms it
/// again.
typedef void (*IOServiceMatchingCallback)(void* refcon, io_iterator_t iterator);
/// `service` is borrowed. `messageType` is one of <IOKit/IOMessage.h>.
typedef void (*IOServiceInterestCallback)(void* refcon, io_service_t service, uint32_t messageType,
                                          void* messageArgument);

enum { kIORegistryIterateRecursively = 0x00000001, kIORegistryIterateParents = 0x00000002 };

CF_EXPORT const mach_port_t kIOMasterPortDefault;
CF_EXPORT const mach_port_t kIOMainPortDefault;

/// There is one registry; both ports stand for it.
CF_EXPORT kern_return_t IOMasterPort(mach_port_t bootstrapPort, mach_port_t* masterPort);

// -- Notification ports

/// NULL if the system has no descriptor left for it.
CF_EXPORT IONotificationPortRef IONotificationPortCreate(mach_port_t masterPort);
/// Also invalidates the port's run-loop source. The port's notifications deliver nothing any more, but their
/// references must still be released.
CF_EXPORT void IONotificationPortDestroy(IONotificationPortRef notify);
/// Borrowed: lives as long as the port.
CF_EXPORT CFRunLoopSourceRef IONotificationPortGetRunLoopSource(IONotificationPortRef notify);

/// The port that messages arrive by; MACH_PORT_NULL if none will arrive, because nothing notifies this system
/// of devices that arrive or leave (standard error says why). The run-loop source receives the messages.
CF_EXPORT mach_port_t IONotificationPortGetMachPort(IONotificationPortRef notify);

// -- References

CF_EXPORT kern_return_t IOObjectRetain(io_object_t object);
/// Releasing the reference to a notification ends the notification: its callback is not called any more, not
/// even for events that have already happened.
CF_EXPORT kern_return_t IOObjectRelease(io_object_t object);
CF_EXPORT kern_return_t IOObjectGetClass(io_object_t object, io_name_t className);
CF_EXPORT CFStringRef IOObjectCopyClass(io_object_t object);
/// TRUE for the object's class and for every class that it derives from.
CF_EXPORT boolean_t IOObjectConformsTo(io_object_t object, const io_name_t className);
CF_EXPORT boolean_t IOObjectIsEqualTo(io_object_t object, io_object_t anObject);
CF_EXPORT uint32_t IOObjectGetRetainCount(io_object_t object);

// -- Iterators

/// A new reference; 0 at the end, and 0 if the iterator is no longer valid. For the iterator of a matching
/// notification, the 0 at the end arms the notification.
CF_EXPORT io_object_t IOIteratorNext(io_iterator_t iterator);
/// Starts over, and makes an invalid iterator valid. No effect on the iterator of a notification.
CF_EXPORT void IOIteratorReset(io_iterator_t iterator);
/// FALSE once the registry has changed under an iterator over it.
CF_EXPORT boolean_t IOIteratorIsValid(io_iterator_t iterator);

// -- Finding services

/// A matching dictionary for a class and all classes that derive from it. The caller owns it and passes it to
/// one of the calls below, which consumes it. NULL for a NULL name.
CF_EXPORT CFMutableDictionaryRef IOServiceMatching(const char* name);
CF_EXPORT CFMutableDictionaryRef IOServiceNameMatching(const char* name);

/// Consumes one reference of `matching`, whatever the result. Returns the present services, parents first.
CF_EXPORT io_service_t IOServiceGetMatchingService(mach_port_t masterPort, CFDictionaryRef matching);
CF_EXPORT kern_return_t IOServiceGetMatchingServices(mach_port_t masterPort, CFDictionaryRef matching,
                                                     io_iterator_t* existing);

/// Consumes one reference of `matching`, whatever the result. `notification` receives an iterator over the
/// services that match now; it must be drained once, which arms the notification. Each service is delivered
/// once per notification; again when it is published or matched again, unless the type is a first-time one.
/// kIOReturnUnsupported for an unknown type.
CF_EXPORT kern_return_t IOServiceAddMatchingNotification(IONotificationPortRef notifyPort,
                                                         const io_name_t notificationType,
                                                         CFDictionaryRef matching,
                                                         IOServiceMatchingCallback callback, void* refCon,
                                                         io_iterator_t* notification);
/// Messages about one service, until `notification` is released. For a service that has left already: its
/// end, at once, where a Mac's kernel returns an error. kIOReturnUnsupported for an unknown type.
CF_EXPORT kern_return_t IOServiceAddInterestNotification(IONotificationPortRef notifyPort,
                                                         io_service_t service, const io_name_t interestType,
                                                         IOServiceInterestCallback callback, void* refCon,
                                                         io_object_t* notification);

// -- Registry entries

CF_EXPORT io_registry_entry_t IORegistryGetRootEntry(mach_port_t masterPort);
/// UTF-8; a name that is too long for an io_name_t is cut between two characters.
CF_EXPORT kern_return_t IORegistryEntryGetName(io_registry_entry_t entry, io_name_t name);
/// UTF-8, "IOService:/...". kIOReturnNoSpace if it does not fit into an io_string_t (nothing is cut),
/// kIOReturnNotAttached if the entry has left the registry, kIOReturnBadArgument for an unknown plane.
CF_EXPORT kern_return_t IORegistryEntryGetPath(io_registry_entry_t entry, const io_name_t plane,
                                               io_string_t path);
CF_EXPORT kern_return_t IORegistryEntryGetRegistryEntryID(io_registry_entry_t entry, uint64_t* entryID);
/// A new dictionary with new objects; the caller owns it.
CF_EXPORT kern_return_t IORegistryEntryCreateCFProperties(io_registry_entry_t entry,
                                                          CFMutableDictionaryRef* properties,
                                                          CFAllocatorRef allocator, IOOptionBits options);
/// A new object, or NULL if the entry has no such property.
CF_EXPORT CFTypeRef IORegistryEntryCreateCFProperty(io_registry_entry_t entry, CFStringRef key,
                                                    CFAllocatorRef allocator, IOOptionBits options);
/// As above; with kIORegistryIterateRecursively it then searches everything below the entry, nearest first,
/// or, if kIORegistryIterateParents is also set, everything above it.
CF_EXPORT CFTypeRef IORegistryEntrySearchCFProperty(io_registry_entry_t entry, const io_name_t plane,
                                                    CFStringRef key, CFAllocatorRef allocator,
                                                    IOOptionBits options);
CF_EXPORT kern_return_t IORegistryEntryGetChildIterator(io_registry_entry_t entry, const io_name_t plane,
                                                        io_iterator_t* iterator);
CF_EXPORT kern_return_t IORegistryEntryGetParentIterator(io_registry_entry_t entry, const io_name_t plane,
                                                         io_iterator_t* iterator);
/// The children or, with kIORegistryIterateParents, the parents of the entry; with
/// kIORegistryIterateRecursively all descendants or ancestors, each entry once, without the entry itself.
CF_EXPORT kern_return_t IORegistryEntryCreateIterator(io_registry_entry_t entry, const io_name_t plane,
                                                      IOOptionBits options, io_iterator_t* iterator);
/// The first parent. kIOReturnNoDevice if there is none.
CF_EXPORT kern_return_t IORegistryEntryGetParentEntry(io_registry_entry_t entry, const io_name_t plane,
                                                      io_registry_entry_t* parent);
CF_EXPORT kern_return_t IORegistryEntryGetChildEntry(io_registry_entry_t entry, const io_name_t plane,
                                                     io_registry_entry_t* child);
