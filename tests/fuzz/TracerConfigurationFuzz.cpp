#include "CallMarker.h"
#include "KeywordTokens.h"
#include "Tracer.h"
#include "TracerConfigFileScanner.h"
#include "TracerParser.h"
#include "detail/FileRing.h"
#include "detail/KFLock.h"

#include <cstddef>
#include <cstdint>

using namespace kf::detail;

namespace {

struct Outcome {
    int errorLine;
    bool enabled;
    std::uint32_t mask;
    std::string name;
    std::int32_t files;
    std::int32_t lines;
    bool threadPermitted;
    bool callPermitted;
    bool callForbidden;

    bool operator==(const Outcome& other) const {
        return errorLine == other.errorLine && enabled == other.enabled && mask == other.mask &&
               name == other.name && files == other.files && lines == other.lines &&
               threadPermitted == other.threadPermitted && callPermitted == other.callPermitted &&
               callForbidden == other.callForbidden;
    }
};

/// Parses the statements, asks the filters, and traces a call under them.
Outcome readInPieces(const std::string& text, std::size_t piece) {
    Tracer tracer;
    Tracer::SetInstance(&tracer);
    tracer.SetFolderName("/nowhere/");
    PieceParser<TracerScanner, TracerParser> parser(text, piece, &tracer);
    Outcome outcome{};
    outcome.errorLine = parser.errorLine();
    outcome.enabled = tracer.isEnabled();
    outcome.mask = tracer.getLevelMask();
    outcome.threadPermitted = tracer.isThreadPermittedToPrint("MAIN");
    outcome.callPermitted = tracer.isCallPermittedToPrint("ZevoLauncher::init");
    outcome.callForbidden = tracer.isCallForbiddenToPrint("ZevoLauncher::init");
    {
        const KFLock lock(tracer.getLock());
        outcome.name = tracer.getFileRing().getCurrentFileName();
        outcome.files = tracer.getFileRing().getMaximumFiles();
        outcome.lines = tracer.getFileRing().getMaximumLinesPerFile();
    }
    tracer.setDirectWrite(false);
    tracer.SetFileName("msvc");
    const CallMarker marker("ZevoLauncher::init");
    require(!marker.isPrinted() || (outcome.callPermitted && !outcome.callForbidden));
    return outcome;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string text(reinterpret_cast<const char*>(data), size);
    checkWords<TracerScanner, TracerConfigFileScanner>(text);
    require(readInPieces(text, 5) == readInPieces(text, text.size()));
    return 0;
}
