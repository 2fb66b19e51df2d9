#pragma once

#include "KernelMatching.h"
#include "detail/CFOwned.h"

#include <CoreFoundation/CoreFoundation.h>
#include <IOKit/IOKitLib.h>

#include <deque>
#include <functional>
#include <list>
#include <map>
#include <memory>
#include <string>
#include <vector>

/// The identifier of a modem, as the launcher writes it.
inline constexpr char MODEM[] = "USB#Vid_12d1&Pid_1001";

/// One service of the scripted registry, as the test describes it.
struct ScriptedEntry {
    std::string name;
    std::string path; // empty: asking for it fails
    std::map<std::string, kf::detail::CFOwned<CFTypeRef>> properties = {};
    bool hasReadableName = true;
    bool hasReadableProperties = true;
    std::vector<ScriptedEntry*> descendants = {};
    std::vector<ScriptedEntry*> parents = {};

    ScriptedEntry& with(const std::string& key, int number);
    ScriptedEntry& with(const std::string& key, const std::string& text);
};

/// One notification that the product has registered.
struct ScriptedNotification {
    std::string type;
    std::string matching; // empty for an interest notification
    IOServiceMatchingCallback matchingCallback = NULL;
    IOServiceInterestCallback interestCallback = NULL;
    void* refCon = NULL;
    io_object_t object = IO_OBJECT_NULL; // the iterator, or the interest notification
};

/// What changes in the registry while the product walks an iterator.
struct ScriptedChange {
    /// How many walks in succession it breaks off, and after how many entries each.
    int walks = 1;
    std::size_t after = 0;
    /// The services that a walk finds when it starts again.
    std::vector<ScriptedEntry*> left = {};
};

/// The scripted answers of IOKit and the run loop, and what the product has registered and owns.
///
/// If it matches as the kernel does, a notification without a class gets every service of the machine: those
/// that the test has added, and some strangers, which it gets again with each arrival.
class ScriptedRegistry {
public:
    ScriptedRegistry();
    static ScriptedRegistry& current();
    void reset();

    // ---- set by the test

    /// What the next searches for services find: one list per search, then nothing.
    std::deque<std::vector<ScriptedEntry*>> matches;
    bool isMatchingNull = false;
    bool isPortNull = false;
    bool isPortDeaf = false;
    kern_return_t findingResult = KERN_SUCCESS;  // of IOServiceGetMatchingServices
    kern_return_t matchingResult = KERN_SUCCESS; // of IOServiceAddMatchingNotification
    kern_return_t interestResult = KERN_SUCCESS; // of IOServiceAddInterestNotification
    kern_return_t iteratorResult = KERN_SUCCESS; // of the calls that make an iterator over an entry
    /// The changes during walks, by the number of the iterator.
    std::map<int, ScriptedChange> changes;
    /// Called while the run loop runs.
    std::function<void()> whileRunning;

    ScriptedEntry& add(const std::string& name, const std::string& path);

    // ---- events

    /// Puts the services into the notification's iterator, in this order or, as the kernel does, in reverse;
    /// then calls the notification's callback.
    void deliver(const ScriptedNotification& notification, const std::vector<ScriptedEntry*>& services);
    void send(const ScriptedNotification& notification, natural_t message);
    /// An iterator of these services, which the test passes to the product and releases.
    io_iterator_t makeIterator(const std::vector<ScriptedEntry*>& services);

    // ---- what the product did

    /// In the order of their registration; a deque, so that references stay valid.
    const std::deque<ScriptedNotification>& notifications() const { return m_notifications; }
    std::vector<std::string> unreleasedObjects() const;
    /// Whether a call is about a stranger, which the test has not added.
    static bool isAboutStranger(const std::string& call);

    // ---- for the definitions of the calls

    struct Object {
        std::string name;
        ScriptedEntry* entry = NULL;
        // of an iterator
        std::vector<ScriptedEntry*> services = {};
        std::deque<ScriptedEntry*> waiting = {};
        std::size_t taken = 0;
        ScriptedChange change = {0};
        bool isValid = true;
        int references = 0;
    };
    io_object_t newObject(const std::string& name);
    io_object_t newIterator(const std::vector<ScriptedEntry*>& services);
    /// Null, and a failure of the test, if the product does not own the object.
    Object* find(io_object_t object);
    std::string nameOf(io_object_t object);
    io_object_t retain(ScriptedEntry* entry);
    std::vector<ScriptedEntry*> nextMatches();
    std::vector<ScriptedEntry*> nextMatchesOf(const std::string& notification);
    /// The next service of an iterator; null at its end, and always for an invalid iterator.
    static ScriptedEntry* takeNext(Object& iterator);
    std::deque<ScriptedNotification>& registered() { return m_notifications; }
    int livePorts = 0;

private:
    std::vector<ScriptedEntry*> inTheirOrder(std::vector<ScriptedEntry*> services) const;

    bool m_isKernel = matchesAsKernel();
    std::list<ScriptedEntry> m_entries;
    std::vector<ScriptedEntry*> m_strangers;
    std::map<io_object_t, Object> m_objects;
    std::map<ScriptedEntry*, io_object_t> m_objectOfEntry;
    std::deque<ScriptedNotification> m_notifications;
    io_object_t m_lastObject = IO_OBJECT_NULL;
    int m_iterators = 0;
};
