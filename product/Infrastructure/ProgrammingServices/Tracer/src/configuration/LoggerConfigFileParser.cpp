#include "LoggerConfigFileParser.h"

#include "CallMarker.h"

using namespace kf::detail;

void LoggerConfigFileParser::signalError(const char* /*message*/) {
    tellSyntaxError(getLanguage(), getLine());
    {
        TRACE_METHOD();
        TRACE_MESSAGE(MSG_ERROR, "syntax error at line %d of log config file", getLine());
    }
    exitAfterSyntaxError();
}
