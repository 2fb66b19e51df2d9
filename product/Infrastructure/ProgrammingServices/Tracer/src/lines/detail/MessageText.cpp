#include "detail/MessageText.h"

#include <cstdio>
#include <cstring>

namespace kf::detail {

namespace {
constexpr char CUT_MARK[] = " ...";
} // namespace

MessageText::MessageText(const char* format, std::va_list arguments) {
    formatSlowly(format, arguments);
}

MessageText::MessageText(const QuickFormat& quick, const char* format, std::va_list arguments,
                         std::va_list again) {
    const int length = quick.write(m_short, STACK_LIMIT, format, arguments);
    if (length >= 0)
        m_length = static_cast<std::size_t>(length);
    else
        formatSlowly(format, again);
}

void MessageText::formatSlowly(const char* format, std::va_list arguments) {
    std::va_list again;
    va_copy(again, arguments);
    const int length = std::vsnprintf(m_short, STACK_LIMIT, format, arguments);
    m_short[STACK_LIMIT] = '\0';
    if (length >= 0 && length <= STACK_LIMIT) {
        m_length = std::strlen(m_short);
    } else {
        // Zeroed, since vsnprintf may leave a text that it cannot format without a terminator.
        m_long = std::make_unique<char[]>(HEAP_LIMIT + sizeof CUT_MARK);
        const int longLength = std::vsnprintf(m_long.get(), HEAP_LIMIT, format, again);
        m_length = std::strlen(m_long.get());
        if (longLength < 0 || longLength > HEAP_LIMIT) {
            std::memcpy(m_long.get() + m_length, CUT_MARK, sizeof CUT_MARK);
            m_length += sizeof CUT_MARK - 1;
        }
    }
    va_end(again);
}

} // namespace kf::detail
