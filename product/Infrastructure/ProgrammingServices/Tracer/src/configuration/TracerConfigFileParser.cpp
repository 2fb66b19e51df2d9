#include "TracerConfigFileParser.h"

#include <cstdio>
#include <cstdlib>

KeywordToken TracerConfigFileParser::getToken() {
    KeywordToken token = m_scanner.getToken();
    m_line = token.line;
    return token;
}

void TracerConfigFileParser::signalError(const char* /*message*/) {
    std::fprintf(stderr, "syntax error at line %d of tracer config file\n", m_line);
    Tracer::FinishBeforeExit();
    std::exit(1);
}
