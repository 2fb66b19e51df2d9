#pragma once

#include "Logger.h"
#include "LoggerConfigFileScanner.h"
#include "LoggerParser.h"

/// Reads a log configuration file into a logger. A syntax error is told on standard error with its line, and
/// ends the process with status 1.
class LoggerConfigFileParser : public LoggerParser {
public:
    /// @param theLogger  borrowed; null: the file is only checked
    explicit LoggerConfigFileParser(const char* fileName, Logger* theLogger = Logger::GetInstance())
        : LoggerParser(theLogger), m_scanner(fileName) {}

protected:
    KeywordToken getToken() override;
    void signalError(const char* message) override;

private:
    LoggerConfigFileScanner m_scanner;
    int m_line = 0; // of the last word
};
