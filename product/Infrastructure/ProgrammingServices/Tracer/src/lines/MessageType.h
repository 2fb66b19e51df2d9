#pragma once

#include <cstdint>

/// The types of trace messages and log lines. Each is one bit, so a mask can enable any subset.
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

/// Makes the compiler check the arguments of a member function against its printf format. Positions count
/// from 1; the first parameter is `this`. For a va_list, argumentsAt is 0.
#define KF_PRINTF_LIKE(formatAt, argumentsAt) __attribute__((format(printf, formatAt, argumentsAt)))
