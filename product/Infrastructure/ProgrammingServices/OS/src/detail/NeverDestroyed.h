#pragma once

#include <new>
#include <utility>

namespace kf::detail {

/// A static object that is never destroyed: threads, signal handlers and the destructors of other static
/// objects may use it until the process ends. As a static of a function it is created at the first call,
/// which may be before main():
///
///     static KFMutex& recordLock() {
///         static NeverDestroyed<KFMutex> lock(true);
///         return lock.get();
///     }
template <typename T>
class NeverDestroyed {
public:
    template <typename... Arguments>
    explicit NeverDestroyed(Arguments&&... arguments) {
        new (m_memory) T(std::forward<Arguments>(arguments)...);
    }
    NeverDestroyed(const NeverDestroyed&) = delete;
    NeverDestroyed& operator=(const NeverDestroyed&) = delete;

    T& get() { return *std::launder(reinterpret_cast<T*>(m_memory)); }

private:
    alignas(T) unsigned char m_memory[sizeof(T)];
};

} // namespace kf::detail
