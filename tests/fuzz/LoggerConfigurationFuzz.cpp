#include "KeywordTokens.h"
#include "Logger.h"
#include "LoggerConfigFileScanner.h"
#include "LoggerParser.h"
#include "detail/FileRing.h"
#include "detail/KFLock.h"

#include <cstddef>
#include <cstdint>

using namespace kf::detail;

namespace {

struct Outcome {
    int errorLine;
    bool enabled;
    std::int32_t mask;
    std::string name;
    std::int32_t files;
    std::int32_t lines;

    bool operator==(const Outcome& other) const {
        return errorLine == other.errorLine && enabled == other.enabled && mask == other.mask &&
               name == other.name && files == other.files && lines == other.lines;
    }
};

Outcome readInPieces(const std::string& text, std::size_t piece) {
    Logger logger;
    logger.SetFolderName("/nowhere/");
    PieceParser<LoggerScanner, LoggerParser> parser(text, piece, &logger);
    Outcome outcome{};
    outcome.errorLine = parser.errorLine();
    outcome.enabled = logger.isEnabled();
    outcome.mask = logger.getLevelMask();
    const KFLock lock(logger.getLock());
    outcome.name = logger.getFileRing().getCurrentFileName();
    outcome.files = logger.getFileRing().getMaximumFiles();
    outcome.lines = logger.getFileRing().getMaximumLinesPerFile();
    return outcome;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string text(reinterpret_cast<const char*>(data), size);
    checkWords<LoggerScanner, LoggerConfigFileScanner>(text);
    require(readInPieces(text, 5) == readInPieces(text, text.size()));
    return 0;
}
