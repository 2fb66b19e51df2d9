#pragma once

#include "MessageType.h"
#include "detail/QuickFormat.h"

#include <cstdarg>
#include <cstddef>
#include <memory>
#include <string_view>

namespace kf::detail {

/// A message, formatted as printf does it, within the limits that trace and log lines share. It ends at its
/// first NUL byte.
///
/// The limits are exact: a text of 2048 or of 20000 characters is not taken as too long, so it loses its last
/// character without a mark. A text of more than 20000 characters is cut to 19999 and marked " ...". So is a
/// text that cannot be formatted, at the point where formatting failed.
class MessageText {
public:
    MessageText(const char* format, std::va_list arguments) KF_PRINTF_LIKE(2, 0);
    /// The same, with a format that was parsed beforehand.
    /// @param arguments, again  two lists of the same arguments
    MessageText(const QuickFormat& quick, const char* format, std::va_list arguments, std::va_list again)
        KF_PRINTF_LIKE(3, 0);

    MessageText(const MessageText&) = delete;
    MessageText& operator=(const MessageText&) = delete;

    /// The text with its mark, if it has one. Valid as long as this object lives.
    std::string_view view() const { return {m_long != nullptr ? m_long.get() : m_short, m_length}; }

private:
    void formatSlowly(const char* format, std::va_list arguments) KF_PRINTF_LIKE(2, 0);

    static constexpr int STACK_LIMIT = 2048;
    static constexpr int HEAP_LIMIT = 20000;

    std::size_t m_length = 0;
    std::unique_ptr<char[]> m_long; // used when m_short is too small
    char m_short[STACK_LIMIT + 1];
};

} // namespace kf::detail
