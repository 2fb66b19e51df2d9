#include "Iterators.h"

#include <algorithm>
#include <unordered_set>

namespace LinuxPlatform {
namespace {

class Walker {
public:
    Walker(Direction direction, bool recursive) : m_direction(direction), m_isRecursive(recursive) {}

    void visitNeighbours(const RegistryEntry& entry) {
        for (const EntryPointer& neighbour : neighbours(entry)) {
            if (!m_seen.insert(neighbour.get()).second)
                continue;
            m_found.push_back(neighbour);
            if (m_isRecursive)
                visitNeighbours(*neighbour);
        }
    }

    std::vector<EntryPointer> take() { return std::move(m_found); }

private:
    std::vector<EntryPointer> neighbours(const RegistryEntry& entry) const {
        if (m_direction == Direction::Children)
            return entry.children();
        std::vector<EntryPointer> parents;
        for (RegistryEntry* parent : entry.parents())
            parents.push_back(std::static_pointer_cast<RegistryEntry>(parent->shared_from_this()));
        return parents;
    }

    const Direction m_direction;
    const bool m_isRecursive;
    std::vector<EntryPointer> m_found;
    std::unordered_set<const RegistryEntry*> m_seen;
};

} // namespace

std::vector<EntryPointer> walk(const RegistryEntry& start, Direction direction, bool recursive) {
    Walker walker(direction, recursive);
    walker.visitNeighbours(start);
    return walker.take();
}

WalkIterator::WalkIterator(const Registry& registry, EntryPointer start, Direction direction, bool recursive)
    : m_registry(registry), m_start(std::move(start)), m_direction(direction), m_isRecursive(recursive) {
    reset();
}

void WalkIterator::reset() {
    m_entries = walk(*m_start, m_direction, m_isRecursive);
    m_position = 0;
    m_generation = m_registry.generation();
}

EntryPointer WalkIterator::next() {
    return isValid() && m_position < m_entries.size() ? m_entries[m_position++] : nullptr;
}

} // namespace LinuxPlatform
