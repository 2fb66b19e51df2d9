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
    /// How many walks it breaks off, one after the other, each after so many entries.
    int walks = 1;
    std::size_t after = 0;
    /// What the walks find that begin again.
    std::vector<ScriptedEntry*> left = {};
};

/// The answers that IOKit and the run loop give, and what the product registered and owns.
///
/// Where it matches as the kernel, a notification without a class gets every service of the machine: what the
/// test has added, some strangers, and the strangers again with everything that arrives.
class ScriptedRegistry {
public:
    ScriptedRegistry();
    static ScriptedRegistry& current();
    void reset();

    // ---- written by the test

    /// What the next calls that look for services find: one list per call, then nothing.
    std::deque<std::vector<ScriptedEntry*>> matches;
    bool isMatchingNull = false;
    bool isPortNull = false;
    bool isPortDeaf = false;
    kern_return_t findingResult = KERN_SUCCESS;  // of IOServiceGetMatchingServices
    kern_return_t matchingResult = KERN_SUCCESS; // of IOServiceAddMatchingNotification
    kern_return_t interestResult = KERN_SUCCESS; // of IOServiceAddInterestNotification
    kern_return_t iteratorResult = KERN_SUCCESS; // of the calls that make an iterator over an entry
    /// By the number of the iterator.
    std::map<int, ScriptedChange> changes;
    /// What happens while the run loop runs.
    std::function<void()> whileRunning;

    ScriptedEntry& add(const std::string& name, const std::string& path);

    // ---- events

    /// The services arrive at a notification in this order, and its callback is called.
    void deliver(const ScriptedNotification& notification, const std::vector<ScriptedEntry*>& services);
    void send(const ScriptedNotification& notification, natural_t message);
    /// An iterator of these services, which the test passes to the product and releases.
    io_iterator_t makeIterator(const std::vector<ScriptedEntry*>& services);

    // ---- what the product did

    /// In the order of their registration; a deque, so that references stay valid.
    const std::deque<ScriptedNotification>& notifications() const { return m_notifications; }
    std::vector<std::string> unreleasedObjects() const;
    /// Whether a call is about a service that the test knows nothing of.
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
    /// Null when nobody may use it.
    Object* find(io_object_t object);
    std::string nameOf(io_object_t object);
    io_object_t retain(ScriptedEntry* entry);
    std::vector<ScriptedEntry*> nextMatches();
    std::vector<ScriptedEntry*> nextMatchesOf(const std::string& notification);
    /// The next service of an iterator, null at its end, for which an invalid one is at once.
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
