#include "LoggerParser.h"

#include "Logger.h"

using namespace kf::detail;

// Unlike the tracer's, every statement takes effect whether the logger is on or not.
void LoggerParser::execute(int statement, const KeywordArguments& arguments) {
    if (m_logger == nullptr)
        return;
    Logger& logger = *m_logger;
    switch (static_cast<LoggerStatement>(statement)) {
    case LoggerStatement::On:
        logger.setEnabled(true);
        break;
    case LoggerStatement::Off:
        logger.setEnabled(false);
        break;
    case LoggerStatement::Clock:
        logger.setPrintTime(true);
        break;
    case LoggerStatement::MustFlush:
        logger.setDirectWrite(true);
        break;
    case LoggerStatement::SetFileName:
        logger.SetFileName(arguments.names.front());
        break;
    case LoggerStatement::SetMaxLines:
        logger.setMaximumLinesPerFile(arguments.number);
        break;
    case LoggerStatement::SetMaxFiles:
        logger.setMaximumFiles(arguments.number);
        break;
    case LoggerStatement::SetMsgFilter:
        logger.addToLevelMask(static_cast<std::int32_t>(arguments.levels));
        break;
    }
}
