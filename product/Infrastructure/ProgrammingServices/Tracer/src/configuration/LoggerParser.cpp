#include "LoggerParser.h"

#include "Logger.h"

using namespace kf::detail;

// Unlike the tracer's, every statement takes effect, whether the logger is enabled or not.
void LoggerParser::execute(int statement, const KeywordArguments& arguments) {
    if (m_logger == nullptr)
        return;
    Logger& logger = *m_logger;
    switch (static_cast<LoggerStatement>(statement)) {
    case LoggerStatement::On:
        return logger.setEnabled(true);
    case LoggerStatement::Off:
        return logger.setEnabled(false);
    case LoggerStatement::Clock:
        return logger.setPrintTime(true);
    case LoggerStatement::MustFlush:
        return logger.setDirectWrite(true);
    case LoggerStatement::SetFileName:
        return logger.SetFileName(arguments.names.front());
    case LoggerStatement::SetMaxLines:
        return logger.setMaximumLinesPerFile(arguments.number);
    case LoggerStatement::SetMaxFiles:
        return logger.setMaximumFiles(arguments.number);
    case LoggerStatement::SetMsgFilter:
        return logger.addToLevelMask(static_cast<std::int32_t>(arguments.levels));
    }
}
