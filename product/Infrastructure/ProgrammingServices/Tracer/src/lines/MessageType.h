#pragma once

#include <cstdint>

/// The kinds of trace messages and of log lines. They are bits, so that a mask enables any subset.
enum MessageType : std::uint32_t {
    MSG_DEBUG = 1,
    MSG_ERROR = 2,
    MSG_WARNING = 4,
    MSG_LEVEL_0 = 8,
    MSG_LEVEL_1 = 16,
    MSG_LEVEL_2 = 32,
    MSG_LEVEL_3 = 64,
    MSG_LEVEL_4 = 128,
    MSG_LEVEL_5 = 256,
};

using TraceMsgType = MessageType;
using LoggerMsgType = MessageType;

/// Marks a member function whose format stands at the given position (the object itself counts as the first);
/// the compiler then checks the arguments against it. With a va_list the position of the arguments is 0.
#define KF_PRINTF_LIKE(formatAt, argumentsAt) __attribute__((format(printf, formatAt, argumentsAt)))
