#pragma once

#include "TracerScanner.h"
#include "detail/KeywordParser.h"

class Tracer;

/// Executes the statements of the trace configuration language. A subclass supplies the tokens.
class TracerParser : public kf::detail::KeywordParser {
public:
    /// @param theTracer  borrowed; null: the text is only checked
    explicit TracerParser(Tracer* theTracer)
        : KeywordParser(kf::detail::getTracerLanguage()), m_tracer(theTracer) {}

protected:
    void execute(int statement, const kf::detail::KeywordArguments& arguments) override;

private:
    Tracer* m_tracer;
};
