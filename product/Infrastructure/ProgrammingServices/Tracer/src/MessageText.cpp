#include "MessageText.h"

#include "QuickFormat.h"

#include <cstdio>

MessageText::MessageText(const char* format, std::va_list arguments) {
    std::va_list again;
    va_copy(again, arguments);
    if (formatQuickly(m_short, STACK_LIMIT, format, again) >= 0) {
        va_end(again);
        return;
    }
    va_end(again);
    va_copy(again, arguments);
    const int length = std::vsnprintf(m_short, STACK_LIMIT, format, arguments);
    m_short[STACK_LIMIT] = '\0';
    if (length < 0 || length > STACK_LIMIT) {
        // Zeroed, since a text that cannot be formatted may end without a terminator.
        m_long = std::make_unique<char[]>(HEAP_LIMIT + 1);
        const int longLength = std::vsnprintf(m_long.get(), HEAP_LIMIT, format, again);
        m_cut = longLength < 0 || longLength > HEAP_LIMIT;
    }
    va_end(again);
}

void MessageText::appendTo(std::string& line) const {
    line += m_long != nullptr ? m_long.get() : m_short;
    if (m_cut)
        line += " ...";
}
