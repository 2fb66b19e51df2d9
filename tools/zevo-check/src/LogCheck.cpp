#include "KeywordFileCheck.h"
#include "TraceCheck.h"

#include "Logger.h"
#include "LoggerScanner.h"
#include "MessageType.h"
#include "TracerScanner.h"
#include "detail/FileRing.h"
#include "detail/KFLock.h"

using namespace kf::detail;

namespace Zevo {
namespace {

constexpr int indexOf(LoggerStatement statement) {
    return static_cast<int>(statement);
}

const KeywordFileCheck::Dialect LOG_DIALECT = {"log",
                                               "logged",
                                               "the log's file",
                                               "the trace's file",
                                               getLoggerLanguage(),
                                               getTracerLanguage(),
                                               indexOf(LoggerStatement::On),
                                               indexOf(LoggerStatement::Off),
                                               indexOf(LoggerStatement::SetFileName),
                                               indexOf(LoggerStatement::SetMaxLines),
                                               indexOf(LoggerStatement::SetMaxFiles),
                                               80};

void checkOrder(KeywordFileCheck& common) {
    const ReadLine* const named = common.last(LOG_DIALECT.setFileName);
    const ReadLine* const files = common.last(LOG_DIALECT.setMaxFiles);
    if (named != nullptr && files != nullptr && files->words.front().line > named->words.front().line)
        common.add("max-files-below-name", common.placeOf(*files),
                   "LOG_SET_MAX_FILES stands below LOG_SET_FILE_NAME, which has looked for the newest file "
                   "before it "
                   "knows how many there are",
                   "LOG_SET_MAX_FILES above LOG_SET_FILE_NAME");
}

void checkLevels(KeywordFileCheck& common, const Logger& logger) {
    const ReadLine* const filter = common.last(indexOf(LoggerStatement::SetMsgFilter));
    if (filter == nullptr) {
        common.add("levels-missing", common.placeOf(*common.last(LOG_DIALECT.on)),
                   "no LOG_SET_MSG_FILTER: no line is written",
                   "a line LOG_SET_MSG_FILTER LOG_ERROR LOG_WARNING LOG_LEVEL_0");
        return;
    }
    const bool hasErrors = logger.hasInLevelMask(MSG_ERROR);
    const bool hasCard = logger.hasInLevelMask(MSG_LEVEL_0);
    if (!hasErrors)
        common.add("levels-without-errors", common.placeOf(*filter),
                   "without LOG_ERROR the log does not tell that another launcher runs, or that no hot-plug "
                   "is to be had",
                   "LOG_ERROR, too");
    if (!hasCard)
        common.add("levels-without-card", common.placeOf(*filter),
                   "without LOG_LEVEL_0 the log does not tell which launcher has started, and when",
                   "LOG_LEVEL_0, too");
}

} // namespace

RingResult checkLog(const std::string& folder, const Outputs& outputs, Findings& findings) {
    const std::string path = folder + "logger_launcher.cfg";
    const SourceText file(path, path);
    if (!file.whyUnreadable().empty()) {
        findings.push_back({"log-missing", file.wholeFile(), file.whyUnreadable() + ": nothing is logged",
                            "the log's configuration", ""});
        return {};
    }
    Logger logger;
    logger.SetFolderName(outputs.logFolder);
    const ReadLines lines = readLogConfiguration(path, logger);
    KeywordFileCheck::Ring ring;
    {
        const KFLock lock(logger.getLock());
        const FileRing& files = logger.getFileRing();
        ring = {files.getBaseFileName(), files.getMaximumFiles(), files.getMaximumLinesPerFile(),
                outputs.logFolder, outputs.freeBytes};
    }
    KeywordFileCheck common(LOG_DIALECT, file, lines, findings);
    common.checkForm();
    common.checkArguments();
    if (common.checkSwitch(logger.isEnabled()) && common.isWithoutErrors()) {
        common.checkRing(ring);
        checkOrder(common);
        checkLevels(common, logger);
    }
    RingResult result;
    result.isOn = logger.isEnabled();
    if (const ReadLine* const named = common.last(LOG_DIALECT.setFileName)) {
        const std::string& name = named->arguments.names.front();
        result.baseName = name == "console" || name == "msvc" ? "" : ring.baseName;
        result.file = file.shownName();
        result.line = named->words.front().line;
    }
    return result;
}

} // namespace Zevo
