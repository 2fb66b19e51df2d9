#include "Crash.h"
#include "Export.h"
#include "Require.h"
#include "StoryText.h"
#include "Summary.h"
#include "TemporaryFolder.h"
#include "TextFile.h"

#include <cstdint>
#include <nlohmann/json.hpp>

// Whatever the file holds: no line is lost, every command gives an answer, and every export is valid JSON.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const TemporaryFolder folder;
    const std::string path = folder / "trace_0.txt";
    const std::string text(reinterpret_cast<const char*>(data), size);
    writeFile(path, text);

    std::vector<std::string> notes;
    Zevo::Journal journal(Zevo::findRings({path}, notes), notes);
    Zevo::StoryTeller teller;
    Zevo::Summary summary;
    Zevo::CrashReader crashes(3);
    std::string chrome, speedscope, lines, words;
    const auto into = [](std::string& target) {
        return [&target](std::string_view part) { target += part; };
    };
    const std::unique_ptr<Zevo::Exporter> exporters[] = {
        Zevo::makeChromeExporter(into(chrome)), Zevo::makeSpeedscopeExporter(into(speedscope), "fuzz"),
        Zevo::makeJsonLinesExporter(into(lines), "fuzz")};
    std::size_t bytes = 0;
    for (Zevo::JournalLine line; journal.next(line);) {
        bytes += line.line.whole.size() + (line.isCut ? 0 : 1);
        teller.add(line);
        summary.add(line);
        crashes.add(line);
        for (const auto& exporter : exporters)
            exporter->add(line);
    }
    require(bytes == 0 || bytes >= size);
    summary.finish();
    for (const auto& exporter : exporters)
        exporter->finish();
    summary.tell(0, Zevo::Colours(true), into(words));
    for (const Zevo::RunStory& story : teller.takeStories()) {
        tell(story, Zevo::Colours(true), into(words));
        words += jsonOf(story).dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
    }
    for (const Zevo::CrashReport& report : crashes.reports())
        tell(report, Zevo::Colours(true), into(words));
    require(nlohmann::json::accept(chrome) && nlohmann::json::accept(speedscope));
    for (std::size_t begin = 0, end = 0; (end = lines.find('\n', begin)) != std::string::npos;
         begin = end + 1)
        require(nlohmann::json::accept(lines.begin() + static_cast<std::ptrdiff_t>(begin),
                                       lines.begin() + static_cast<std::ptrdiff_t>(end)));
    return 0;
}
