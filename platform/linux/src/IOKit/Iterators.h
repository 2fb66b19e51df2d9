#pragma once

#include "ClassTree.h"
#include "Registry.h"

#include <functional>

namespace LinuxPlatform {

/// What an io_iterator_t refers to. Used with the server's lock held.
class RegistryIterator : public RegistryObject {
public:
    /// Null at the end, and if the iterator is not valid.
    virtual EntryPointer next() = 0;
    virtual void reset() = 0;
    virtual bool isValid() const = 0;
};

/// Iterates over services that were found once; stays valid even after they have left.
class ListIterator final : public RegistryIterator {
public:
    explicit ListIterator(std::vector<EntryPointer> entries) : m_entries(std::move(entries)) {}

    std::string_view className() const override { return ClassName::ITERATOR; }
    EntryPointer next() override { return m_position < m_entries.size() ? m_entries[m_position++] : nullptr; }
    void reset() override { m_position = 0; }
    bool isValid() const override { return true; }

private:
    const std::vector<EntryPointer> m_entries;
    std::size_t m_position = 0;
};

enum class Direction { Children, Parents };

/// Iterates over the entries below or above an entry; becomes invalid when the registry changes.
class WalkIterator final : public RegistryIterator {
public:
    WalkIterator(const Registry& registry, EntryPointer start, Direction direction, bool recursive);

    std::string_view className() const override { return ClassName::ITERATOR; }
    EntryPointer next() override;
    void reset() override;
    bool isValid() const override { return m_generation == m_registry.generation(); }

private:
    const Registry& m_registry;
    const EntryPointer m_start;
    const Direction m_direction;
    const bool m_isRecursive;
    std::uint64_t m_generation = 0;
    std::vector<EntryPointer> m_entries;
    std::size_t m_position = 0;
};

/// The neighbours of an entry in one direction; if recursive, all the way, each once, the nearer ones of a
/// branch first.
std::vector<EntryPointer> walk(const RegistryEntry& start, Direction direction, bool recursive);

} // namespace LinuxPlatform
