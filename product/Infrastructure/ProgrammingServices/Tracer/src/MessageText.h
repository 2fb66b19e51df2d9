#pragma once

#include "MessageType.h"

#include <cstdarg>
#include <memory>
#include <string>

/// The text of a message, formatted with printf's rules, with the limits that trace and log lines share.
///
/// The limits are exact: a text of 2048 or of 20000 characters is not seen as too long, so it loses its last
/// character without a mark; a longer one than 20000 is cut to 19999 characters and marked " ...", and so is
/// a text that cannot be formatted, as far as it got.
class MessageText {
public:
    MessageText(const char* format, std::va_list arguments) KF_PRINTF_LIKE(2, 0);

    MessageText(const MessageText&) = delete;
    MessageText& operator=(const MessageText&) = delete;

    void appendTo(std::string& line) const;

private:
    static constexpr int STACK_LIMIT = 2048;
    static constexpr int HEAP_LIMIT = 20000;

    char m_short[STACK_LIMIT + 1];
    std::unique_ptr<char[]> m_long; // when the short one does not hold the text
    bool m_cut = false;
};
