#pragma once

#include "Tracer.h"
#include "TracerConfigFileScanner.h"
#include "TracerParser.h"

/// Reads a trace configuration file into a tracer. A syntax error is told on standard error with its line,
/// and ends the process with status 1.
class TracerConfigFileParser : public TracerParser {
public:
    /// @param theTracer  borrowed; null: the file is only checked
    explicit TracerConfigFileParser(const char* fileName, Tracer* theTracer = Tracer::GetInstance())
        : TracerParser(theTracer), m_scanner(fileName) {}

protected:
    KeywordToken getToken() override;
    void signalError(const char* message) override;

private:
    TracerConfigFileScanner m_scanner;
    int m_line = 0; // of the last word
};
