#pragma once

#include "Tracer.h"
#include "TracerConfigFileScanner.h"
#include "TracerParser.h"
#include "detail/ConfigFileParser.h"

/// Reads a trace configuration file into a tracer. A syntax error is reported on standard error with its
/// line, and ends the process with status 1.
class TracerConfigFileParser : public kf::detail::ConfigFileParser<TracerParser, TracerConfigFileScanner> {
public:
    /// @param theTracer  borrowed; null: the file is only checked
    explicit TracerConfigFileParser(const char* fileName, Tracer* theTracer = Tracer::GetInstance())
        : ConfigFileParser(fileName, theTracer) {}
};
