#pragma once

#include "detail/KeywordScanner.h"

namespace kf::detail {

/// The statements of the log configuration language, in the order of their table.
enum class LoggerStatement {
    On,
    Off,
    Clock,
    MustFlush,
    SetFileName,
    SetMaxLines,
    SetMaxFiles,
    SetMsgFilter,
};

/// The keywords and level words of the log configuration language.
const KeywordLanguage& getLoggerLanguage();

} // namespace kf::detail

/// The scanner of the log configuration language. A subclass supplies the text.
class LoggerScanner : public kf::detail::KeywordScanner {
public:
    LoggerScanner() : KeywordScanner(kf::detail::getLoggerLanguage()) {}
};
