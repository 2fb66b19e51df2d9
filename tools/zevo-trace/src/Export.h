#pragma once

#include "CallTree.h"
#include "Sink.h"

#include <cstdio>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace Zevo {

/// Writes a journal in another program's format.
class Exporter {
public:
    virtual ~Exporter() = default;
    virtual void add(const JournalLine& line) = 0;
    /// After the last line; call it once.
    virtual void finish() = 0;
};

/// The Trace Event format of browsers: begin and end events, strictly nested, in whole microseconds; one
/// process per run, one thread per thread, messages as instants.
std::unique_ptr<Exporter> makeChromeExporter(Sink sink);

/// The file format of speedscope: one evented profile for each thread of each run; the last run's MAIN is
/// shown first.
std::unique_ptr<Exporter> makeSpeedscopeExporter(Sink sink, std::string title);

/// One JSON object per line, for each line of the journal; docs/zevo-trace.md describes it.
std::unique_ptr<Exporter> makeJsonLinesExporter(Sink sink, const std::string& machine);

} // namespace Zevo
