#pragma once

#include "detail/KeywordScanner.h"

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

/// The words and statements of the log configuration language.
const KeywordLanguage& getLoggerLanguage();

/// Makes words of a log configuration. A subclass supplies the text.
class LoggerScanner : public KeywordScanner {
public:
    LoggerScanner() : KeywordScanner(getLoggerLanguage()) {}
};
