// References, iterators, matching and notifications of <IOKit/IOKitLib.h>.

#include "ClientCalls.h"
#include "Iterators.h"
#include "MatchingCriteria.h"
#include "NotificationPort.h"
#include "Notifications.h"
#include "String.h"

#include <IOKit/IOKitLib.h>

#include <cstring>

namespace LinuxPlatform {
namespace {

/// Owns the dictionary that a call consumes, whatever the call's result.
using Consumed = Owned<const Dictionary>;

CFMutableDictionaryRef oneKeyDictionary(CFStringRef key, const char* value) {
    if (!value)
        return nullptr;
    const CFMutableDictionaryRef dictionary = CFDictionaryCreateMutable(
        kCFAllocatorDefault, 0, &kCFTypeDictionaryKeyCallBacks, &kCFTypeDictionaryValueCallBacks);
    const Owned<const String> text(makeString(value));
    CFDictionarySetValue(dictionary, key, text.get());
    return dictionary;
}

std::optional<MatchingNotification::About> subjectOf(const char* notificationType) {
    const std::string_view type = notificationType;
    if (type == kIOTerminatedNotification)
        return MatchingNotification::About::Terminations;
    if (type == kIOPublishNotification || type == kIOMatchedNotification)
        return MatchingNotification::About::Arrivals;
    if (type == kIOFirstPublishNotification || type == kIOFirstMatchNotification)
        return MatchingNotification::About::FirstArrivals;
    return std::nullopt;
}

} // namespace

} // namespace LinuxPlatform

using namespace LinuxPlatform;
using Freshness = RegistryServer::Freshness;

const mach_port_t kIOMasterPortDefault = MACH_PORT_NULL;
const mach_port_t kIOMainPortDefault = MACH_PORT_NULL;

kern_return_t IOMasterPort(mach_port_t, mach_port_t* masterPort) {
    *masterPort = kIOMasterPortDefault;
    return KERN_SUCCESS;
}

kern_return_t IOObjectRetain(io_object_t object) {
    const auto server = RegistryServer::enter();
    if (server->handles().retain(object))
        return KERN_SUCCESS;
    std::shared_ptr<RegistryObject> none;
    return findObject(server, object, "IOObjectRetain", none);
}

kern_return_t IOObjectRelease(io_object_t object) {
    // 0 needs no release: callers need not check what a failed call left them with.
    if (object == IO_OBJECT_NULL)
        return KERN_SUCCESS;
    return releaseReference(RegistryServer::enter(), object, "IOObjectRelease");
}

kern_return_t IOObjectGetClass(io_object_t object, io_name_t className) {
    const auto server = RegistryServer::enter();
    std::shared_ptr<RegistryObject> found;
    const kern_return_t result = findObject(server, object, "IOObjectGetClass", found);
    if (result == KERN_SUCCESS)
        copyCut(found->className(), className, sizeof(io_name_t));
    return result;
}

CFStringRef IOObjectCopyClass(io_object_t object) {
    io_name_t className;
    return IOObjectGetClass(object, className) == KERN_SUCCESS ? makeString(className) : nullptr;
}

boolean_t IOObjectConformsTo(io_object_t object, const io_name_t className) {
    const auto server = RegistryServer::enter();
    std::shared_ptr<RegistryObject> found;
    return findObject(server, object, "IOObjectConformsTo", found) == KERN_SUCCESS &&
           classConformsTo(found->className(), className);
}

boolean_t IOObjectIsEqualTo(io_object_t object, io_object_t anObject) {
    // References to the same object have the same value while they live.
    return object == anObject;
}

uint32_t IOObjectGetRetainCount(io_object_t object) {
    return RegistryServer::enter()->handles().count(object);
}

io_object_t IOIteratorNext(io_iterator_t iterator) {
    const auto server = RegistryServer::enter();
    std::shared_ptr<RegistryIterator> found;
    if (find(server, iterator, "IOIteratorNext", found) != KERN_SUCCESS)
        return IO_OBJECT_NULL;
    EntryPointer next = found->next();
    return next ? server->handles().add(std::move(next)) : IO_OBJECT_NULL;
}

void IOIteratorReset(io_iterator_t iterator) {
    const auto server = RegistryServer::enter();
    std::shared_ptr<RegistryIterator> found;
    if (find(server, iterator, "IOIteratorReset", found) == KERN_SUCCESS)
        found->reset();
}

boolean_t IOIteratorIsValid(io_iterator_t iterator) {
    const auto server = RegistryServer::enter();
    std::shared_ptr<RegistryIterator> found;
    return find(server, iterator, "IOIteratorIsValid", found) == KERN_SUCCESS && found->isValid();
}

CFMutableDictionaryRef IOServiceMatching(const char* name) {
    return oneKeyDictionary(CFSTR(kIOProviderClassKey), name);
}

CFMutableDictionaryRef IOServiceNameMatching(const char* name) {
    return oneKeyDictionary(CFSTR(kIONameMatchKey), name);
}

io_service_t IOServiceGetMatchingService(mach_port_t, CFDictionaryRef matching) {
    const Consumed consumed(matching);
    if (!matching)
        return IO_OBJECT_NULL;
    const MatchingCriteria criteria(matching);
    const auto server = RegistryServer::enter(Freshness::UpToDate);
    const auto services = criteria.matchesIn(server->entries());
    return services.empty() ? IO_OBJECT_NULL : server->handles().add(services.front());
}

kern_return_t IOServiceGetMatchingServices(mach_port_t, CFDictionaryRef matching, io_iterator_t* existing) {
    const Consumed consumed(matching);
    if (existing)
        *existing = IO_OBJECT_NULL;
    if (!matching || !existing)
        return kIOReturnBadArgument;
    const MatchingCriteria criteria(matching);
    const auto server = RegistryServer::enter(Freshness::UpToDate);
    *existing = server->handles().add(std::make_shared<ListIterator>(criteria.matchesIn(server->entries())));
    return KERN_SUCCESS;
}

kern_return_t IOServiceAddMatchingNotification(IONotificationPortRef notifyPort,
                                               const io_name_t notificationType, CFDictionaryRef matching,
                                               IOServiceMatchingCallback callback, void* refCon,
                                               io_iterator_t* notification) {
    const Consumed consumed(matching);
    if (notification)
        *notification = IO_OBJECT_NULL;
    if (!notifyPort || !notificationType || !matching || !callback || !notification)
        return kIOReturnBadArgument;
    const auto about = subjectOf(notificationType);
    if (!about)
        return kIOReturnUnsupported;
    MatchingCriteria criteria(matching);
    const auto server = RegistryServer::enter(Freshness::UpToDate);
    *notification = server->handles().add(std::make_shared<MatchingNotification>(
        server->entries(), notifyPort->queue, *about, std::move(criteria), callback, refCon));
    return KERN_SUCCESS;
}

kern_return_t IOServiceAddInterestNotification(IONotificationPortRef notifyPort, io_service_t service,
                                               const io_name_t interestType,
                                               IOServiceInterestCallback callback, void* refCon,
                                               io_object_t* notification) {
    if (notification)
        *notification = IO_OBJECT_NULL;
    if (!notifyPort || !interestType || !callback || !notification)
        return kIOReturnBadArgument;
    if (std::strcmp(interestType, kIOGeneralInterest) != 0)
        return kIOReturnUnsupported;
    const auto server = RegistryServer::enter();
    EntryPointer entry;
    const kern_return_t result = find(server, service, "IOServiceAddInterestNotification", entry);
    if (result != KERN_SUCCESS)
        return result;
    if (server->entries().habits().refusedInterest && !entry->isAttached())
        return kIOReturnNotAttached;
    *notification = server->handles().add(
        std::make_shared<InterestNotification>(notifyPort->queue, std::move(entry), callback, refCon));
    return KERN_SUCCESS;
}
