#include "TracerParser.h"

#include "Tracer.h"

using namespace kf::detail;

void TracerParser::execute(int statement, const KeywordArguments& arguments) {
    if (m_tracer == nullptr)
        return;
    Tracer& tracer = *m_tracer;
    const auto kind = static_cast<TracerStatement>(statement);
    // DELIBERATE: before TRACE_ON, and behind TRACE_OFF, the other statements are read and ignored.
    if (kind != TracerStatement::On && kind != TracerStatement::Off && !tracer.isEnabled())
        return;
    switch (kind) {
    case TracerStatement::On:
        tracer.setEnabled(true);
        break;
    case TracerStatement::Off:
        tracer.setEnabled(false);
        break;
    case TracerStatement::IndentWithMark:
        tracer.setBarIndentation(true);
        break;
    case TracerStatement::FullIndent:
        tracer.setIndentHiddenCalls(true);
        break;
    case TracerStatement::CallExit:
        tracer.setPrintExits(true);
        break;
    case TracerStatement::Clock:
        tracer.setPrintTime(true);
        break;
    case TracerStatement::MustFlush:
        tracer.setDirectWrite(true);
        break;
    case TracerStatement::ObjectCount:
        tracer.setPrintObjectCountAndAddress(true);
        break;
    case TracerStatement::SetMsgFilter:
        tracer.addToLevelMask(arguments.levels);
        break;
    case TracerStatement::TheThread:
        for (const std::string& name : arguments.names)
            tracer.TraceTheThread(name.c_str());
        break;
    case TracerStatement::TheCall:
        for (const std::string& name : arguments.names)
            tracer.TraceTheCall(name.c_str());
        break;
    case TracerStatement::SetFileName:
        tracer.SetFileName(arguments.names.front());
        break;
    case TracerStatement::SetMaxLines:
        tracer.setMaximumLinesPerFile(arguments.number);
        break;
    case TracerStatement::SetMaxFiles:
        tracer.setMaximumFiles(arguments.number);
        break;
    case TracerStatement::SetBufferFormatHex:
    case TracerStatement::SetBufferFormatDec:
    case TracerStatement::SetBufferFormatChr:
        // DELIBERATE: old files carry these; they have no effect.
        break;
    }
}
