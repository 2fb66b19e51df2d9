#pragma once

#include "Logger.h"
#include "detail/QuickFormat.h"

/// The first argument, the format. Called with one argument more, so that `...` is never empty.
#define KF_FORMAT_OF_(format, ...) format

/// LOG_MESSAGE(type, "format", ...) writes one line to the log if a logger is registered, it is enabled and
/// its mask has the type. The format is a string literal, which the compiler checks. The arguments are
/// evaluated only if the line is written. The macro may stand unbraced after an if or an else.
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
