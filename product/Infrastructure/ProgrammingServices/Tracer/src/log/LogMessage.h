#pragma once

#include "Logger.h"
#include "detail/QuickFormat.h"

/// The format among a message's arguments; followed by one argument more than they are, so that there is one.
#define KF_FORMAT_OF_(format, ...) format

/// LOG_MESSAGE(type, "format", ...) writes one line to the log when a logger is registered, it is enabled and
/// its mask has the type. The format is a string literal, which the compiler checks; the arguments are
/// evaluated only when the line is written; it may stand unbraced after an if or an else.
#define LOG_MESSAGE(type, ...)                                                                               \
    do {                                                                                                     \
        _Pragma("GCC diagnostic push") _Pragma("GCC diagnostic ignored \"-Wshadow\"");                       \
        const ::LoggerMsgType kfLogType_ = (type);                                                           \
        if (::Logger* const kfLogger_ = ::Logger::GetInstanceFor(kfLogType_)) {                              \
            static constexpr kf::detail::QuickFormat kfFormat_(KF_FORMAT_OF_(__VA_ARGS__, 0));               \
            kfLogger_->PrintMsg(kfLogType_, kfFormat_, __VA_ARGS__);                                         \
        }                                                                                                    \
        _Pragma("GCC diagnostic pop")                                                                        \
    } while (false)
