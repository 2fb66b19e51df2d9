#pragma once

#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>
#include <string_view>

namespace kf::detail {

/// A text that only grows at its end. The row dictionary-save of the benchmarks needs it: with a std::string
/// in its place, saving takes twice the time and is slower than the best rival at some sizes. It checks its
/// room once for several parts, and growing does not copy a long text (realloc moves its pages).
///
/// Errors: std::bad_alloc; the text stays as it was.
/// Thread: one at a time.
class TextBuffer {
public:
    /// Parts may be literals, strings and views.
    template <typename... Parts>
    void append(const Parts&... parts) {
        const std::size_t more = (std::string_view(parts).size() + ...);
        if (m_capacity - m_size < more)
            grow(more);
        (copy(parts), ...);
    }
    /// Borrowed: valid until something is appended.
    std::string_view view() const { return {m_data.get(), m_size}; }

private:
    struct Free {
        void operator()(char* data) const { std::free(data); }
    };

    void copy(std::string_view part) {
        // An empty view may be null, which memcpy must not be given.
        if (!part.empty())
            std::memcpy(m_data.get() + m_size, part.data(), part.size());
        m_size += part.size();
    }
    void grow(std::size_t more) {
        static constexpr std::size_t SMALLEST = 1024;
        const std::size_t capacity = 2 * m_capacity + SMALLEST + more;
        char* const data = static_cast<char*>(std::realloc(m_data.get(), capacity));
        if (data == nullptr)
            throw std::bad_alloc();
        static_cast<void>(m_data.release()); // realloc has already released it
        m_data.reset(data);
        m_capacity = capacity;
    }

    std::unique_ptr<char, Free> m_data;
    std::size_t m_size = 0;
    std::size_t m_capacity = 0;
};

} // namespace kf::detail
