#pragma once

#include "Logger.h"
#include "LoggerConfigFileScanner.h"
#include "LoggerParser.h"
#include "detail/ConfigFileParser.h"

/// Reads a log configuration file into a logger. A syntax error is reported on standard error with its line
/// and traced, and ends the process with status 1.
class LoggerConfigFileParser : public kf::detail::ConfigFileParser<LoggerParser, LoggerConfigFileScanner> {
public:
    /// @param theLogger  borrowed; null: the file is only checked
    explicit LoggerConfigFileParser(const char* fileName, Logger* theLogger = Logger::GetInstance())
        : ConfigFileParser(fileName, theLogger) {}

protected:
    void signalError(const char* message) override;
};
