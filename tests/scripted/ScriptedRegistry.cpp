#include "ScriptedRegistry.h"

#include "Script.h"

#include <algorithm>
#include <cstring>

using namespace kf::detail;

ScriptedEntry& ScriptedEntry::with(const std::string& key, int number) {
    properties[key].reset(makeNumber(number).release());
    return *this;
}

ScriptedEntry& ScriptedEntry::with(const std::string& key, const std::string& text) {
    properties[key].reset(makeText(text).release());
    return *this;
}

static const char STRANGER[] = "stranger";

ScriptedRegistry::ScriptedRegistry() {
    if (!m_isKernel)
        return;
    // One beside all devices, one above them, and one that has already left.
    for (const char* path : {"IOService:/ACPI@0/thermal@1", "IOService:/", ""})
        m_strangers.push_back(&add(STRANGER + std::string(" ") + path, path));
}

bool ScriptedRegistry::isAboutStranger(const std::string& call) {
    return call.find(STRANGER) != std::string::npos;
}

ScriptedRegistry& ScriptedRegistry::current() {
    static ScriptedRegistry registry;
    return registry;
}

void ScriptedRegistry::reset() {
    *this = ScriptedRegistry();
}

ScriptedEntry& ScriptedRegistry::add(const std::string& name, const std::string& path) {
    m_entries.push_back(ScriptedEntry{name, path});
    return m_entries.back();
}

io_object_t ScriptedRegistry::newObject(const std::string& name) {
    m_objects[++m_lastObject].name = name;
    m_objects[m_lastObject].references = 1;
    return m_lastObject;
}

io_object_t ScriptedRegistry::newIterator(const std::vector<ScriptedEntry*>& services) {
    const io_object_t iterator = newObject("iterator " + std::to_string(++m_iterators));
    Object& object = m_objects[iterator];
    object.services = services;
    object.waiting.assign(services.begin(), services.end());
    if (changes.count(m_iterators) != 0)
        object.change = changes[m_iterators];
    return iterator;
}

ScriptedEntry* ScriptedRegistry::takeNext(Object& iterator) {
    if (iterator.change.walks > 0 && iterator.taken == iterator.change.after) {
        --iterator.change.walks;
        iterator.services = iterator.change.left;
        iterator.isValid = false;
    }
    if (!iterator.isValid || iterator.waiting.empty())
        return NULL;
    ScriptedEntry* const next = iterator.waiting.front();
    iterator.waiting.pop_front();
    ++iterator.taken;
    return next;
}

ScriptedRegistry::Object* ScriptedRegistry::find(io_object_t object) {
    const auto found = m_objects.find(object);
    if (found != m_objects.end() && found->second.references > 0)
        return &found->second;
    ADD_FAILURE() << "object " << object << " is used, but not owned";
    return NULL;
}

std::string ScriptedRegistry::nameOf(io_object_t object) {
    const Object* const found = find(object);
    return found == NULL ? "(not owned)" : found->name;
}

io_object_t ScriptedRegistry::retain(ScriptedEntry* entry) {
    io_object_t& object = m_objectOfEntry[entry];
    if (object == IO_OBJECT_NULL) {
        object = newObject(entry->name);
        m_objects[object].entry = entry;
        m_objects[object].references = 0;
    }
    ++m_objects[object].references;
    return object;
}

std::vector<ScriptedEntry*> ScriptedRegistry::nextMatches() {
    if (matches.empty())
        return {};
    const std::vector<ScriptedEntry*> next = matches.front();
    matches.pop_front();
    return next;
}

std::vector<ScriptedEntry*> ScriptedRegistry::nextMatchesOf(const std::string& notification) {
    std::vector<ScriptedEntry*> services = nextMatches();
    if (m_isKernel && notification.find("IOProviderClass") == std::string::npos) {
        services.clear();
        for (ScriptedEntry& entry : m_entries)
            services.push_back(&entry);
    }
    return inTheirOrder(services);
}

std::vector<ScriptedEntry*> ScriptedRegistry::inTheirOrder(std::vector<ScriptedEntry*> services) const {
    if (m_isKernel)
        std::reverse(services.begin(), services.end());
    return services;
}

void ScriptedRegistry::deliver(const ScriptedNotification& notification,
                               const std::vector<ScriptedEntry*>& services) {
    Object* const iterator = find(notification.object);
    if (iterator == NULL)
        return;
    std::vector<ScriptedEntry*> arriving = services;
    if (m_isKernel && notification.matching.find("IOProviderClass") == std::string::npos)
        arriving.insert(arriving.end(), m_strangers.begin(), m_strangers.end());
    arriving = inTheirOrder(arriving);
    iterator->waiting.assign(arriving.begin(), arriving.end());
    notification.matchingCallback(notification.refCon, notification.object);
}

void ScriptedRegistry::send(const ScriptedNotification& notification, natural_t message) {
    if (find(notification.object) != NULL)
        notification.interestCallback(notification.refCon, IO_OBJECT_NULL, message, NULL);
}

io_iterator_t ScriptedRegistry::makeIterator(const std::vector<ScriptedEntry*>& services) {
    return newIterator(services);
}

std::vector<std::string> ScriptedRegistry::unreleasedObjects() const {
    std::vector<std::string> names;
    for (const auto& object : m_objects)
        if (object.second.references > 0)
            names.push_back(object.second.name);
    for (int i = 0; i < livePorts; ++i)
        names.push_back("port");
    return names;
}

// ---- the calls themselves

namespace {

ScriptedRegistry& registry() {
    return ScriptedRegistry::current();
}

void note(const std::string& call) {
    Script::current().note(call);
}

// Their addresses are the handles of the only port, its source and the current run loop.
char PORT, SOURCE, RUN_LOOP;

std::string nameOf(CFRunLoopRef loop) {
    return reinterpret_cast<char*>(loop) == &RUN_LOOP ? "current" : "(unknown loop)";
}

std::string nameOf(CFRunLoopSourceRef source) {
    return reinterpret_cast<char*>(source) == &SOURCE ? "source" : "(unknown source)";
}

std::string nameOf(IONotificationPortRef port) {
    return reinterpret_cast<char*>(port) == &PORT ? "port" : "(unknown port)";
}

std::string optionsText(IOOptionBits options) {
    return options == 0 ? "" : ", options " + std::to_string(options);
}

ScriptedEntry* entryOf(io_object_t object) {
    const ScriptedRegistry::Object* const found = registry().find(object);
    return found == NULL ? NULL : found->entry;
}

kern_return_t makeIteratorOver(const std::vector<ScriptedEntry*>& entries, io_iterator_t* iterator) {
    if (registry().iteratorResult == KERN_SUCCESS)
        *iterator = registry().newIterator(entries);
    return registry().iteratorResult;
}

} // namespace

// Apple's headers declare some of these with attributes and the old name of the main port as deprecated.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wdeprecated-declarations"

const mach_port_t kIOMasterPortDefault = 0;
const CFRunLoopMode kCFRunLoopCommonModes = CFSTR("common modes");

#pragma GCC diagnostic pop

CFMutableDictionaryRef IOServiceMatching(const char* name) {
    note(std::string("IOServiceMatching(") + name + ")");
    if (registry().isMatchingNull)
        return NULL;
    CFMutableDictionaryRef matching = CFDictionaryCreateMutable(
        kCFAllocatorDefault, 0, &kCFTypeDictionaryKeyCallBacks, &kCFTypeDictionaryValueCallBacks);
    CFDictionarySetValue(matching, CFSTR("IOProviderClass"), makeText(name).get());
    Script::current().handOver(matching, "matching dictionary");
    return matching;
}

IONotificationPortRef IONotificationPortCreate(mach_port_t port) {
    note(std::string("IONotificationPortCreate(") + (port == 0 ? "default" : "(unknown)") + ")");
    if (registry().isPortNull)
        return NULL;
    ++registry().livePorts;
    return reinterpret_cast<IONotificationPortRef>(&PORT);
}

void IONotificationPortDestroy(IONotificationPortRef port) {
    note("IONotificationPortDestroy(" + nameOf(port) + ")");
    --registry().livePorts;
}

mach_port_t IONotificationPortGetMachPort(IONotificationPortRef port) {
    note("IONotificationPortGetMachPort(" + nameOf(port) + ")");
    return registry().isPortDeaf ? 0 : 1;
}

CFRunLoopSourceRef IONotificationPortGetRunLoopSource(IONotificationPortRef port) {
    note("IONotificationPortGetRunLoopSource(" + nameOf(port) + ")");
    return reinterpret_cast<CFRunLoopSourceRef>(&SOURCE);
}

kern_return_t IOServiceAddMatchingNotification(IONotificationPortRef port, const io_name_t type,
                                               CFDictionaryRef matching, IOServiceMatchingCallback callback,
                                               void* refCon, io_iterator_t* iterator) {
    const std::string description = describe(matching);
    note("IOServiceAddMatchingNotification(" + nameOf(port) + ", " + type + ", " + description + ")");
    CFRelease(matching);
    if (registry().matchingResult != KERN_SUCCESS)
        return registry().matchingResult;
    ScriptedNotification notification;
    notification.type = type;
    notification.matching = description;
    notification.matchingCallback = callback;
    notification.refCon = refCon;
    notification.object = registry().newIterator(registry().nextMatchesOf(description));
    *iterator = notification.object;
    registry().registered().push_back(notification);
    return KERN_SUCCESS;
}

kern_return_t IOServiceAddInterestNotification(IONotificationPortRef port, io_service_t service,
                                               const io_name_t type, IOServiceInterestCallback callback,
                                               void* refCon, io_object_t* object) {
    note("IOServiceAddInterestNotification(" + nameOf(port) + ", " + registry().nameOf(service) + ", " +
         type + ")");
    if (registry().interestResult != KERN_SUCCESS)
        return registry().interestResult;
    ScriptedNotification notification;
    notification.type = type;
    notification.interestCallback = callback;
    notification.refCon = refCon;
    notification.object = registry().newObject("interest in " + registry().nameOf(service));
    *object = notification.object;
    registry().registered().push_back(notification);
    return KERN_SUCCESS;
}

kern_return_t IOServiceGetMatchingServices(mach_port_t, CFDictionaryRef matching, io_iterator_t* iterator) {
    note("IOServiceGetMatchingServices(" + describe(matching) + ")");
    CFRelease(matching);
    if (registry().findingResult == KERN_SUCCESS)
        *iterator = registry().newIterator(registry().nextMatches());
    return registry().findingResult;
}

io_object_t IOIteratorNext(io_iterator_t iterator) {
    ScriptedRegistry::Object* const found = registry().find(iterator);
    ScriptedEntry* const next = found == NULL ? NULL : ScriptedRegistry::takeNext(*found);
    if (next == NULL) {
        note("IOIteratorNext(" + registry().nameOf(iterator) + ") = none");
        return IO_OBJECT_NULL;
    }
    note("IOIteratorNext(" + found->name + ") = " + next->name);
    return registry().retain(next);
}

// Recorded only if the answer is no: every walk ends with this call, and the answer is nearly always yes.
// Tests that list the calls would have to list it everywhere.
boolean_t IOIteratorIsValid(io_iterator_t iterator) {
    const ScriptedRegistry::Object* const found = registry().find(iterator);
    if (found != NULL && found->isValid)
        return TRUE;
    note("IOIteratorIsValid(" + registry().nameOf(iterator) + ") = no");
    return FALSE;
}

void IOIteratorReset(io_iterator_t iterator) {
    ScriptedRegistry::Object* const found = registry().find(iterator);
    note("IOIteratorReset(" + registry().nameOf(iterator) + ")");
    if (found == NULL)
        return;
    found->waiting.assign(found->services.begin(), found->services.end());
    found->taken = 0;
    found->isValid = true;
}

kern_return_t IOObjectRelease(io_object_t object) {
    ScriptedRegistry::Object* const found = registry().find(object);
    if (found == NULL)
        return KERN_INVALID_NAME;
    note("IOObjectRelease(" + found->name + ")");
    --found->references;
    return KERN_SUCCESS;
}

kern_return_t IORegistryEntryGetName(io_registry_entry_t object, io_name_t name) {
    const ScriptedEntry* const entry = entryOf(object);
    note("IORegistryEntryGetName(" + registry().nameOf(object) + ")");
    if (entry == NULL || !entry->hasReadableName)
        return kIOReturnNotFound;
    std::strncpy(name, entry->name.c_str(), sizeof(io_name_t) - 1);
    return KERN_SUCCESS;
}

kern_return_t IORegistryEntryGetPath(io_registry_entry_t object, const io_name_t plane, io_string_t path) {
    const ScriptedEntry* const entry = entryOf(object);
    note("IORegistryEntryGetPath(" + registry().nameOf(object) + ", " + plane + ")");
    if (entry == NULL || entry->path.empty())
        return kIOReturnNotAttached;
    std::strncpy(path, entry->path.c_str(), sizeof(io_string_t) - 1);
    return KERN_SUCCESS;
}

CFTypeRef IORegistryEntrySearchCFProperty(io_registry_entry_t object, const io_name_t plane, CFStringRef key,
                                          CFAllocatorRef, IOOptionBits options) {
    const ScriptedEntry* const entry = entryOf(object);
    const std::string name = toText(key);
    note("IORegistryEntrySearchCFProperty(" + registry().nameOf(object) + ", " + plane + ", " + name +
         optionsText(options) + ")");
    if (entry == NULL || entry->properties.count(name) == 0)
        return NULL;
    // A new copy each time, like the real call's, so that each must be released.
    const CFTypeRef property = entry->properties.at(name).get();
    const CFOwned<CFStringRef> text(
        CFStringCreateWithFormat(kCFAllocatorDefault, NULL, CFSTR("%@"), property));
    const bool isText = CFGetTypeID(property) == CFStringGetTypeID();
    const CFTypeRef copy = isText ? static_cast<CFTypeRef>(makeText(toText(text.get())).release())
                                  : makeNumber(std::stoi(toText(text.get()))).release();
    return Script::current().handOver(copy, name + " of " + entry->name);
}

kern_return_t IORegistryEntryCreateCFProperties(io_registry_entry_t object,
                                                CFMutableDictionaryRef* properties, CFAllocatorRef,
                                                IOOptionBits options) {
    const ScriptedEntry* const entry = entryOf(object);
    note("IORegistryEntryCreateCFProperties(" + registry().nameOf(object) + optionsText(options) + ")");
    if (entry == NULL || !entry->hasReadableProperties)
        return kIOReturnNotAttached;
    *properties = CFDictionaryCreateMutable(kCFAllocatorDefault, 0, &kCFTypeDictionaryKeyCallBacks,
                                            &kCFTypeDictionaryValueCallBacks);
    for (const auto& property : entry->properties)
        CFDictionarySetValue(*properties, makeText(property.first).get(), property.second.get());
    Script::current().handOver(*properties, "properties of " + entry->name);
    return KERN_SUCCESS;
}

kern_return_t IORegistryEntryCreateIterator(io_registry_entry_t object, const io_name_t plane,
                                            IOOptionBits options, io_iterator_t* iterator) {
    const ScriptedEntry* const entry = entryOf(object);
    note("IORegistryEntryCreateIterator(" + registry().nameOf(object) + ", " + plane + optionsText(options) +
         ")");
    return entry == NULL ? kIOReturnBadArgument : makeIteratorOver(entry->descendants, iterator);
}

kern_return_t IORegistryEntryGetParentIterator(io_registry_entry_t object, const io_name_t plane,
                                               io_iterator_t* iterator) {
    const ScriptedEntry* const entry = entryOf(object);
    note("IORegistryEntryGetParentIterator(" + registry().nameOf(object) + ", " + plane + ")");
    return entry == NULL ? kIOReturnBadArgument : makeIteratorOver(entry->parents, iterator);
}

CFRunLoopRef CFRunLoopGetCurrent() {
    return reinterpret_cast<CFRunLoopRef>(&RUN_LOOP);
}

void CFRunLoopAddSource(CFRunLoopRef loop, CFRunLoopSourceRef source, CFRunLoopMode mode) {
    note("CFRunLoopAddSource(" + nameOf(loop) + ", " + nameOf(source) + ", " + toText(mode) + ")");
}

void CFRunLoopRemoveSource(CFRunLoopRef loop, CFRunLoopSourceRef source, CFRunLoopMode mode) {
    note("CFRunLoopRemoveSource(" + nameOf(loop) + ", " + nameOf(source) + ", " + toText(mode) + ")");
}

void CFRunLoopRun() {
    note("CFRunLoopRun()");
    if (registry().whileRunning)
        registry().whileRunning();
}
