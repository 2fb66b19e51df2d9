#pragma once

// Base of every CoreFoundation object: the reference count, and what CFEqual, CFHash and "%@" need.
//
// All live objects are listed. CFRetain and CFRelease look an object up before they access it, so that one
// release too many causes a message instead of heap corruption; and the length of the list shows tests what
// was leaked.

#include <CoreFoundation/CFBase.h>

#include <memory>
#include <string>

namespace LinuxPlatform {

enum class TypeID : CFTypeID { String = 1, Number, Boolean, Dictionary, RunLoop, RunLoopSource };

class Object {
public:
    enum class Life {
        Counted,  ///< owned by those who created or retained it
        OfThread, ///< a thread's run loop: reference-counted, but nobody's leak
        Constant  ///< never destroyed; retaining and releasing change nothing
    };

    Object(const Object&) = delete;
    Object& operator=(const Object&) = delete;
    virtual ~Object();

    TypeID type() const { return m_type; }

    /// `other` has the same type.
    virtual bool isEqualTo(const Object& other) const { return this == &other; }
    virtual CFHashCode hash() const;
    /// What "%@" prints.
    virtual std::u16string description() const;

protected:
    /// The new object has one reference: its creator's.
    Object(TypeID type, Life life);

private:
    friend class LiveObjectList;

    const TypeID m_type;
    const Life m_life;
    mutable CFIndex m_owners = 1; ///< guarded by the list's lock
};

/// The number of objects that clients still have to release.
std::size_t liveObjectCount();

/// The object behind a reference that a caller passes.
inline const Object& objectOf(CFTypeRef cf) {
    return *static_cast<const Object*>(cf);
}

/// Passes the ownership of a new object to a caller of the framework.
template <class T>
T* handOver(std::unique_ptr<T> object) {
    return object.release();
}

/// One owned reference.
template <class T>
class Owned {
public:
    Owned() = default;
    /// Takes ownership of a reference.
    explicit Owned(T* object) : m_object(object) {}
    Owned(const Owned& other) : m_object(other.m_object) { retain(); }
    Owned(Owned&& other) noexcept : m_object(other.m_object) { other.m_object = nullptr; }
    Owned& operator=(Owned other) noexcept {
        std::swap(m_object, other.m_object);
        return *this;
    }
    ~Owned() {
        if (m_object)
            CFRelease(m_object);
    }

    /// Adds a reference to an object that somebody else owns.
    static Owned share(T* object) {
        Owned shared(object);
        shared.retain();
        return shared;
    }

    T* get() const { return m_object; }
    T* operator->() const { return m_object; }
    explicit operator bool() const { return m_object != nullptr; }

private:
    void retain() {
        if (m_object)
            CFRetain(m_object);
    }

    T* m_object = nullptr;
};

} // namespace LinuxPlatform
