#include "Object.h"

#include "Diagnostics.h"

#include <functional>
#include <limits>
#include <mutex>
#include <unordered_set>

const CFAllocatorRef kCFAllocatorDefault = nullptr;
const CFAllocatorRef kCFAllocatorSystemDefault = nullptr;

namespace LinuxPlatform {

/// All live objects. The reference counts are changed under this lock too, so that no other thread can
/// destroy an object between its look-up and the change.
class LiveObjectList {
public:
    /// Never destroyed, since static objects may release theirs at exit.
    static LiveObjectList& get() {
        static LiveObjectList& list = *new LiveObjectList;
        return list;
    }

    void add(const Object& object) {
        const std::lock_guard<std::mutex> lock(m_lock);
        m_objects.insert(&object);
        if (object.m_life == Object::Life::Counted)
            ++m_counted;
    }

    void remove(const Object& object) {
        const std::lock_guard<std::mutex> lock(m_lock);
        erase(object);
    }

    bool retain(CFTypeRef cf) {
        const std::lock_guard<std::mutex> lock(m_lock);
        const Object* object = find(cf);
        if (object && object->m_life != Object::Life::Constant)
            ++object->m_owners;
        return object;
    }

    /// `last` receives the object if this was its last reference; then it is no longer listed.
    bool release(CFTypeRef cf, std::unique_ptr<const Object>& last) {
        const std::lock_guard<std::mutex> lock(m_lock);
        const Object* object = find(cf);
        if (!object)
            return false;
        if (object->m_life != Object::Life::Constant && --object->m_owners == 0) {
            erase(*object);
            last.reset(object);
        }
        return true;
    }

    /// 0 for something that is not an object.
    CFIndex owners(CFTypeRef cf) {
        const std::lock_guard<std::mutex> lock(m_lock);
        const Object* object = find(cf);
        if (!object)
            return 0;
        return object->m_life == Object::Life::Constant ? std::numeric_limits<CFIndex>::max()
                                                        : object->m_owners;
    }

    std::size_t counted() {
        const std::lock_guard<std::mutex> lock(m_lock);
        return m_counted;
    }

private:
    const Object* find(CFTypeRef cf) const {
        const auto object = m_objects.find(static_cast<const Object*>(cf));
        return object == m_objects.end() ? nullptr : *object;
    }

    void erase(const Object& object) {
        if (m_objects.erase(&object) != 0 && object.m_life == Object::Life::Counted)
            --m_counted;
    }

    std::mutex m_lock;
    std::unordered_set<const Object*> m_objects;
    std::size_t m_counted = 0;
};

Object::Object(TypeID type, Life life) : m_type(type), m_life(life) {
    LiveObjectList::get().add(*this);
}

Object::~Object() {
    LiveObjectList::get().remove(*this);
}

CFHashCode Object::hash() const {
    return std::hash<const Object*>()(this);
}

std::u16string Object::description() const {
    return u"<object>";
}

std::size_t liveObjectCount() {
    return LiveObjectList::get().counted();
}

} // namespace LinuxPlatform

using LinuxPlatform::complain;
using LinuxPlatform::LiveObjectList;
using LinuxPlatform::Object;
using LinuxPlatform::objectOf;

CFTypeRef CFRetain(CFTypeRef cf) {
    if (!LiveObjectList::get().retain(cf))
        complain("CoreFoundation: CFRetain of %p, which is no live object", cf);
    return cf;
}

void CFRelease(CFTypeRef cf) {
    std::unique_ptr<const Object> last;
    if (!LiveObjectList::get().release(cf, last))
        complain("CoreFoundation: CFRelease of %p, which is no live object: released too often?", cf);
}

CFIndex CFGetRetainCount(CFTypeRef cf) {
    return LiveObjectList::get().owners(cf);
}

CFTypeID CFGetTypeID(CFTypeRef cf) {
    return static_cast<CFTypeID>(objectOf(cf).type());
}

Boolean CFEqual(CFTypeRef cf1, CFTypeRef cf2) {
    if (cf1 == cf2)
        return TRUE;
    if (!cf1 || !cf2)
        return FALSE;
    const Object& left = objectOf(cf1);
    const Object& right = objectOf(cf2);
    return left.type() == right.type() && left.isEqualTo(right);
}

CFHashCode CFHash(CFTypeRef cf) {
    return objectOf(cf).hash();
}
