#pragma once

#include "LoggerScanner.h"
#include "detail/KeywordParser.h"

class Logger;

/// Executes the statements of the log configuration language. A subclass supplies the tokens.
class LoggerParser : public kf::detail::KeywordParser {
public:
    /// @param theLogger  borrowed; null: the text is only checked
    explicit LoggerParser(Logger* theLogger)
        : KeywordParser(kf::detail::getLoggerLanguage()), m_logger(theLogger) {}

protected:
    void execute(int statement, const kf::detail::KeywordArguments& arguments) override;

private:
    Logger* m_logger;
};
