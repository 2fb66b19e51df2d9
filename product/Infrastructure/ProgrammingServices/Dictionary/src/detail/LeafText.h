#pragma once

#include <cstddef>
#include <memory>
#include <string_view>
#include <utility>

namespace kf::detail {

/// The text of a string leaf: in a block of memory of its own, or behind the leaf, in the leaf's block.
///
/// The row dictionary-load of the benchmarks needs the second form: most leaves of a tree are read from a
/// file and never change. With a std::string in place of this class, loading takes a tenth longer, as long as
/// the best rival.
///
/// Errors: std::bad_alloc; the text stays as it was.
/// Thread: one at a time.
class LeafText {
public:
    /// The bytes that placeBehind() needs behind the leaf.
    static std::size_t sizeBehind(std::string_view text) { return text.size() + 1; }

    LeafText() = default;
    explicit LeafText(std::string_view text) { assign(text); }
    LeafText(const LeafText&) = delete;
    LeafText& operator=(const LeafText&) = delete;

    /// The text may be a part of the present one.
    void assign(std::string_view text) {
        std::unique_ptr<char[]> own; // moved last: the text may be a part of the old block
        if (!text.empty()) {
            own.reset(new char[sizeBehind(text)]);
            store(own.get(), text);
        }
        m_own = std::move(own);
        m_size = text.size();
    }
    /// Only once, while this is empty. This must be the last member of the leaf, and the leaf's block must
    /// have sizeBehind(text) bytes more than the leaf.
    void placeBehind(std::string_view text) {
        store(reinterpret_cast<char*>(this + 1), text);
        m_size = text.size();
    }

    /// Borrowed: valid until another text is assigned or the leaf is destroyed.
    std::string_view view() const { return {data(), m_size}; }
    const char* c_str() const { return m_size > 0 ? data() : ""; }

private:
    static void store(char* to, std::string_view text) {
        text.copy(to, text.size());
        to[text.size()] = '\0';
    }
    const char* data() const {
        return m_own != nullptr ? m_own.get() : reinterpret_cast<const char*>(this + 1);
    }

    std::unique_ptr<char[]> m_own; // null if the text is behind the leaf, or empty
    std::size_t m_size = 0;
};

} // namespace kf::detail
