#include "DeviceChoice.h"
#include "FindingText.h"
#include "Require.h"
#include "Script.h"
#include "SourceText.h"
#include "TemporaryFolder.h"
#include "TextFile.h"

#include <cstdint>
#include <unistd.h>

// Whatever the file holds: every line is a statement, a variable or a mistake, reported with its place.

namespace {

const std::vector<Zevo::KnownModem> MODEMS = {{{0x12d1, 0x1003}, {{0x12d1, 0x1003}}, "Huawei E220, E230"},
                                              {{0x12d1, 0x1446}, {{0x12d1, 0x1001}}, "Huawei, newer modems"}};

void requirePlace(const Zevo::Place& place, int lines) {
    require(place.line >= 1 && place.line <= lines && place.column >= 1 && place.length >= 1);
}

void requireWhole(const Zevo::Step& step, int lines) {
    using Kind = Zevo::Step::Kind;
    requirePlace(step.place, lines);
    require(!step.text.empty());
    require((step.kind != Kind::plug && step.kind != Kind::storm) || step.modem.first().isKnown());
    require(step.time.count() >= 0);
    require(Zevo::durationIn(Zevo::shownDuration(step.time)).has_value());
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const TemporaryFolder folder;
    // A device may be a file name: a relative one is searched for in this folder.
    static const bool isThere = chdir(folder.path().c_str()) == 0;
    require(isThere);
    const std::string path = folder / "script.sim";
    writeFile(path, std::string(reinterpret_cast<const char*>(data), size));

    const int lines = Zevo::SourceText(path, path).lineCount();
    const Zevo::Script script = Zevo::readScript(path, {{"given", "12d1:1446"}}, MODEMS);
    require(script.steps.size() + script.findings.size() <= static_cast<std::size_t>(lines));
    for (const Zevo::Step& step : script.steps)
        requireWhole(step, lines);
    for (const Zevo::Finding& finding : script.findings) {
        requirePlace(finding.place, lines);
        require(!finding.id.empty() && !finding.wrong.empty());
        require(!Zevo::sentence(finding, Zevo::Colours(true)).empty());
        require(!Zevo::excerptOf(finding.place, Zevo::Colours(true)).empty());
    }
    return 0;
}
