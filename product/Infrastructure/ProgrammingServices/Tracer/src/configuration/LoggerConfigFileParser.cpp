#include "LoggerConfigFileParser.h"

#include "CallMarker.h"

#include <cstdio>
#include <cstdlib>

KeywordToken LoggerConfigFileParser::getToken() {
    KeywordToken token = m_scanner.getToken();
    m_line = token.line;
    return token;
}

void LoggerConfigFileParser::signalError(const char* /*message*/) {
    std::fprintf(stderr, "syntax error at line %d of log config file\n", m_line);
    {
        TRACE_METHOD();
        TRACE_MESSAGE(MSG_ERROR, "syntax error at line %d of log config file", m_line);
    }
    Tracer::FinishBeforeExit();
    std::exit(1);
}
