#include "TracerParser.h"

#include "Tracer.h"

using namespace kf::detail;

void TracerParser::execute(int statement, const KeywordArguments& arguments) {
    if (m_tracer == nullptr)
        return;
    Tracer& tracer = *m_tracer;
    const auto kind = static_cast<TracerStatement>(statement);
    // DELIBERATE: before TRACE_ON and after TRACE_OFF, the other statements are read and ignored.
    if (kind != TracerStatement::On && kind != TracerStatement::Off && !tracer.isEnabled())
        return;
    switch (kind) {
    case TracerStatement::On:
        return tracer.setEnabled(true);
    case TracerStatement::Off:
        return tracer.setEnabled(false);
    case TracerStatement::IndentWithMark:
        return tracer.setBarIndentation(true);
    case TracerStatement::FullIndent:
        return tracer.setIndentHiddenCalls(true);
    case TracerStatement::CallExit:
        return tracer.setPrintExits(true);
    case TracerStatement::Clock:
        return tracer.setPrintTime(true);
    case TracerStatement::MustFlush:
        return tracer.setDirectWrite(true);
    case TracerStatement::ObjectCount:
        return tracer.setPrintObjectCountAndAddress(true);
    case TracerStatement::SetMsgFilter:
        return tracer.addToLevelMask(arguments.levels);
    case TracerStatement::TheThread:
        for (const std::string& name : arguments.names)
            tracer.TraceTheThread(name.c_str());
        break;
    case TracerStatement::TheCall:
        for (const std::string& name : arguments.names)
            tracer.TraceTheCall(name.c_str());
        break;
    case TracerStatement::SetFileName:
        return tracer.SetFileName(arguments.names.front());
    case TracerStatement::SetMaxLines:
        return tracer.setMaximumLinesPerFile(arguments.number);
    case TracerStatement::SetMaxFiles:
        return tracer.setMaximumFiles(arguments.number);
    case TracerStatement::SetBufferFormatHex:
    case TracerStatement::SetBufferFormatDec:
    case TracerStatement::SetBufferFormatChr:
        // DELIBERATE: old files carry these; they have no effect.
        break;
    }
}
