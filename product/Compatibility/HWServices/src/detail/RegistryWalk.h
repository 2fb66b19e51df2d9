#pragma once

#include <IOKit/IOKitLib.h>

namespace kf::detail {

/// One way through an iterator of the device registry, from begin to end. The end that IOIteratorNext() tells is
/// none when the registry has changed meanwhile; then the walk begins again:
///
///     RegistryWalk walk(iterator);
///     do {
///         found.clear();
///         while (const io_registry_entry_t next = walk.next()) {
///             const IOObjectHandle entry(next);
///             ...
///         }
///     } while (walk.beginsAgain());
class RegistryWalk {
public:
    /// The iterator is borrowed.
    explicit RegistryWalk(io_iterator_t iterator) : m_iterator(iterator) {}

    RegistryWalk(const RegistryWalk&) = delete;
    RegistryWalk& operator=(const RegistryWalk&) = delete;

    /// The next entry, which the caller releases; 0 at the end.
    io_registry_entry_t next() const { return IOIteratorNext(m_iterator); }

    /// To be asked at the end. True when entries may have been missed: what was found is to be forgotten, and
    /// the next one is the first again. After ten attempts the answer is false, which is traced as an error:
    /// what the last one found has to do. The iterator of a notification never has to begin again.
    bool beginsAgain() { return !IOIteratorIsValid(m_iterator) && reset(); }

private:
    bool reset();

    const io_iterator_t m_iterator;
    int m_attempts = 1;
};

} // namespace kf::detail
