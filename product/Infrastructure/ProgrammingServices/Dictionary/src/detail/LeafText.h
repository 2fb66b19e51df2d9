#pragma once

#include <cstddef>
#include <memory>
#include <string_view>
#include <utility>

namespace kf::detail {

/// The text of a string leaf: in a block of memory of its own, or behind the leaf, in the leaf's block.
///
/// The row dictionary-load of the benchmarks pays for the second: most leaves of a tree were read from a file
/// and never change. With a std::string in place of this class loading takes a tenth longer, which is as long as
/// the best rival takes.
///
/// Errors: std::bad_alloc; the text stays as it was.
/// Thread: one at a time.
class LeafText {
public:
    /// The bytes behind a leaf that placeBehind() needs.
    static std::size_t sizeBehind(std::string_view text) { return text.size() + 1; }

    LeafText() = default;
    explicit LeafText(std::string_view text) { assign(text); }
    LeafText(const LeafText&) = delete;
    LeafText& operator=(const LeafText&) = delete;

    /// The text may be a part of this one.
    void assign(std::string_view text) {
        std::unique_ptr<char[]> own; // replaces the old block last: the text may be a part of that
        if (!text.empty()) {
            own.reset(new char[sizeBehind(text)]);
            store(own.get(), text);
        }
        m_own = std::move(own);
        m_size = text.size();
    }
    /// Only once, while it is empty. This is the last member of the leaf, and the leaf's block has sizeBehind(text)
    /// bytes more than the leaf.
    void placeBehind(std::string_view text) {
        store(reinterpret_cast<char*>(this + 1), text);
        m_size = text.size();
    }

    /// Borrowed, as all texts are: valid until another is assigned or the leaf goes.
    std::string_view view() const { return {data(), m_size}; }
    const char* c_str() const { return m_size > 0 ? data() : ""; }

private:
    static void store(char* place, std::string_view text) {
        text.copy(place, text.size());
        place[text.size()] = '\0';
    }
    const char* data() const {
        return m_own != nullptr ? m_own.get() : reinterpret_cast<const char*>(this + 1);
    }

    std::unique_ptr<char[]> m_own; // null where the text is behind the leaf, or empty
    std::size_t m_size = 0;
};

} // namespace kf::detail
