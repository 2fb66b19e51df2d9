#include "Object.h"

#include "Diagnostics.h"

#include <functional>
#include <limits>
#include <mutex>
#include <unordered_set>

const CFAllocatorRef kCFAllocatorDefault = nullptr;
const CFAllocatorRef kCFAllocatorSystemDefault = nullptr;

namespace LinuxPlatform {

/// Every object there is. The reference counts are changed under this lock too, so that no other thread can
/// destroy an object between its look-up and the change.
class LiveObjectList {
public:
    /// Outlives every static object, for these may release theirs at exit.
    static LiveObjectList& Get() {
        static LiveObjectList& list = *new LiveObjectList;
        return list;
    }

    void Add(const Object& object) {
        const std::lock_guard<std::mutex> lock(m_lock);
        m_objects.insert(&object);
        if (object.m_life == Object::Life::Counted)
            ++m_counted;
    }

    void Remove(const Object& object) {
        const std::lock_guard<std::mutex> lock(m_lock);
        Erase(object);
    }

    bool Retain(CFTypeRef cf) {
        const std::lock_guard<std::mutex> lock(m_lock);
        const Object* object = Find(cf);
        if (object && object->m_life != Object::Life::Constant)
            ++object->m_owners;
        return object;
    }

    /// `last` receives the object when this was its last owner; it is off the list then.
    bool Release(CFTypeRef cf, std::unique_ptr<const Object>& last) {
        const std::lock_guard<std::mutex> lock(m_lock);
        const Object* object = Find(cf);
        if (!object)
            return false;
        if (object->m_life != Object::Life::Constant && --object->m_owners == 0) {
            Erase(*object);
            last.reset(object);
        }
        return true;
    }

    /// 0 for what is no object.
    CFIndex Owners(CFTypeRef cf) {
        const std::lock_guard<std::mutex> lock(m_lock);
        const Object* object = Find(cf);
        if (!object)
            return 0;
        return object->m_life == Object::Life::Constant ? std::numeric_limits<CFIndex>::max()
                                                        : object->m_owners;
    }

    std::size_t Counted() {
        const std::lock_guard<std::mutex> lock(m_lock);
        return m_counted;
    }

private:
    const Object* Find(CFTypeRef cf) const {
        const auto object = m_objects.find(static_cast<const Object*>(cf));
        return object == m_objects.end() ? nullptr : *object;
    }

    void Erase(const Object& object) {
        if (m_objects.erase(&object) != 0 && object.m_life == Object::Life::Counted)
            --m_counted;
    }

    std::mutex m_lock;
    std::unordered_set<const Object*> m_objects;
    std::size_t m_counted = 0;
};

Object::Object(TypeID type, Life life) : m_type(type), m_life(life) {
    LiveObjectList::Get().Add(*this);
}

Object::~Object() {
    LiveObjectList::Get().Remove(*this);
}

CFHashCode Object::Hash() const {
    return std::hash<const Object*>()(this);
}

std::u16string Object::Description() const {
    return u"<object>";
}

std::size_t LiveObjectCount() {
    return LiveObjectList::Get().Counted();
}

} // namespace LinuxPlatform

using LinuxPlatform::Complain;
using LinuxPlatform::LiveObjectList;
using LinuxPlatform::Object;
using LinuxPlatform::ObjectOf;

CFTypeRef CFRetain(CFTypeRef cf) {
    if (!LiveObjectList::Get().Retain(cf))
        Complain("CoreFoundation: CFRetain of %p, which is no live object", cf);
    return cf;
}

void CFRelease(CFTypeRef cf) {
    std::unique_ptr<const Object> last;
    if (!LiveObjectList::Get().Release(cf, last))
        Complain("CoreFoundation: CFRelease of %p, which is no live object: released too often?", cf);
}

CFIndex CFGetRetainCount(CFTypeRef cf) {
    return LiveObjectList::Get().Owners(cf);
}

CFTypeID CFGetTypeID(CFTypeRef cf) {
    return static_cast<CFTypeID>(ObjectOf(cf).Type());
}

Boolean CFEqual(CFTypeRef cf1, CFTypeRef cf2) {
    if (cf1 == cf2)
        return TRUE;
    if (!cf1 || !cf2)
        return FALSE;
    const Object& left = ObjectOf(cf1);
    const Object& right = ObjectOf(cf2);
    return left.Type() == right.Type() && left.IsEqualTo(right);
}

CFHashCode CFHash(CFTypeRef cf) {
    return ObjectOf(cf).Hash();
}
