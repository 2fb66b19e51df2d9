#include "Ring.h"

#include "BundledFiles.h"
#include "LineReader.h"
#include "TraceLine.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <dirent.h>
#include <map>
#include <memory>
#include <stdexcept>
#include <sys/stat.h>

namespace Zevo {
namespace {

constexpr std::string_view ENDING = ".txt";
constexpr int QUARTER_HOUR = 15 * 60 * 1000;

/// "/x/trace_12.txt" is file 12 of "/x/trace"; a name of another form is file 0 of itself.
std::string baseNameOf(const std::string& path, long& index) {
    index = 0;
    if (path.size() <= ENDING.size() || path.compare(path.size() - ENDING.size(), ENDING.size(), ENDING) != 0)
        return path;
    const std::string stem = path.substr(0, path.size() - ENDING.size());
    const std::string::size_type underscore = stem.find_last_not_of("0123456789");
    if (underscore == std::string::npos || stem[underscore] != '_' || underscore + 1 == stem.size() ||
        stem.size() - underscore > 10)
        return path;
    index = std::strtol(stem.c_str() + underscore + 1, nullptr, 10);
    return stem.substr(0, underscore);
}

bool isRingFile(const std::string& path) {
    long index = 0;
    return baseNameOf(path, index) != path;
}

struct stat statusOf(const std::string& path) {
    struct stat status = {};
    if (stat(path.c_str(), &status) != 0)
        throw std::runtime_error(path + ": cannot be read: " + std::strerror(errno));
    return status;
}

std::vector<std::string> ringFilesIn(const std::string& folder) {
    const std::unique_ptr<DIR, int (*)(DIR*)> listing(opendir(folder.c_str()), &closedir);
    if (!listing)
        throw std::runtime_error(folder + ": cannot be read: " + std::strerror(errno));
    std::vector<std::string> result;
    while (const dirent* const entry = readdir(listing.get())) {
        const std::string path = folder + (folder.back() == '/' ? "" : "/") + entry->d_name;
        struct stat status = {};
        if (isRingFile(path) && stat(path.c_str(), &status) == 0 && S_ISREG(status.st_mode))
            result.push_back(path);
    }
    return result;
}

Moment localMoment(const timespec& time) {
    std::tm parts = {};
    localtime_r(&time.tv_sec, &parts);
    return (static_cast<Moment>(time.tv_sec) + parts.tm_gmtoff) * 1000 + time.tv_nsec / 1000000;
}

/// Reads every line, but only what the order and the dates depend on. False if the file contains nothing of a
/// trace or a log.
bool lookAt(RingFile& file) {
    constexpr std::string_view MAIN_COLUMN = "][MAIN ";
    LineReader reader(file.path, file.unpacked.get());
    FileFacts& facts = file.facts;
    LineParser parser;
    bool isKnown = false;
    std::string_view line;
    while (reader.next(line)) {
        const std::int32_t time = timeOfDayOf(line);
        if (time >= 0) {
            if (facts.firstTime < 0)
                facts.firstTime = time;
            else if (time < facts.lastTime - LARGEST_STEP_BACK)
                ++facts.midnights;
            facts.lastTime = time;
        }
        if (!isKnown ||
            (!facts.mainThread && line.substr(0, 64).find(MAIN_COLUMN) != std::string_view::npos)) {
            const TraceLine parsed = parser.parse(line);
            if (!isKnown && (parsed.hasThread || parsed.kind == LineKind::log)) {
                isKnown = true;
                facts.isTrace = parsed.hasThread;
            }
            if (parsed.hasThread && parsed.threadName == "MAIN")
                facts.mainThread = parsed.threadNumber;
        }
        if (!line.empty())
            facts.endsWithReport =
                line[0] == '-' || line[0] == 'C' || (facts.endsWithReport && line[0] != '[');
    }
    return isKnown;
}

RingFile fileAt(const std::string& path) {
    const struct stat status = statusOf(path);
    RingFile file;
    file.path = path;
    file.size = static_cast<std::uint64_t>(status.st_size);
    file.modified = localMoment(status.st_mtim);
    return file;
}

RingFile fileIn(const std::string& bundle, const BundledFile& bundled) {
    RingFile file;
    file.path = bundle + "/" + bundled.name;
    file.unpacked = bundled.content;
    file.size = bundled.size;
    file.modified = localMoment({bundled.modified, 0});
    return file;
}

/// From a to b on a clock of 24 hours: -12 to 12 hours.
std::int32_t clockDistance(Moment a, Moment b) {
    const Moment half = DAY / 2;
    return static_cast<std::int32_t>((((b - a + half) % DAY) + DAY) % DAY - half);
}

/// If the files' modification times agree with their last lines, give or take a second and another time zone,
/// they give the order and the days. Stores the time zone's offset in `shift`.
bool areTimesTrue(const Ring& ring, Moment& shift) {
    constexpr int LATE = 10 * 1000, EARLY = 2 * 1000;
    std::optional<Moment> common;
    for (const RingFile& file : ring.files) {
        if (file.facts.lastTime < 0)
            continue;
        const std::int32_t distance = clockDistance(file.modified, file.facts.lastTime);
        const int zone =
            (distance + (distance < 0 ? -1 : 1) * QUARTER_HOUR / 2) / QUARTER_HOUR * QUARTER_HOUR;
        const int rest = distance - zone;
        if (rest < -LATE || rest > EARLY || (common && *common != zone))
            return false;
        common = zone;
    }
    shift = common.value_or(0);
    return common.has_value();
}

/// Without modification times: if the time of day steps back from one file to the next exactly once, the ring
/// is cut there, and the files behind the cut are older.
void orderByContent(Ring& ring, std::vector<std::string>& notes) {
    std::vector<RingFile>& files = ring.files;
    std::size_t cuts = 0, cut = 0;
    for (std::size_t i = 1; i < files.size(); ++i) {
        if (files[i].facts.firstTime >= 0 &&
            files[i - 1].facts.lastTime > files[i].facts.firstTime + LARGEST_STEP_BACK / 90) {
            ++cuts;
            cut = i;
        }
    }
    if (cuts == 1)
        std::rotate(files.begin(), files.begin() + static_cast<std::ptrdiff_t>(cut), files.end());
    if (files.size() > 1)
        notes.push_back(ring.baseName +
                        "_*.txt: the files' own times are not those of their lines (copied?); their order is "
                        "taken from the lines' times");
    else if (!files.empty() && files[0].facts.lastTime >= 0)
        notes.push_back(files[0].path +
                        ": the file's own time is not that of its last line (copied?); the day is not known");
}

void markRuns(Ring& ring) {
    for (std::size_t i = 0; i < ring.files.size(); ++i) {
        RingFile& file = ring.files[i];
        if (i == 0) {
            file.beginsRun = true;
            continue;
        }
        const RingFile& before = ring.files[i - 1];
        const std::optional<std::int32_t> here = file.facts.mainThread, there = before.facts.mainThread;
        // Its beginning may be lost, if a later run has overwritten it.
        file.beginsRun = ring.isTrace && ((here && there && *here != *there) || before.facts.endsWithReport);
    }
}

void dateFiles(Ring& ring, Moment shift) {
    Moment next = 0; // the moment of the first line of the next file
    for (std::size_t i = ring.files.size(); i-- > 0;) {
        RingFile& file = ring.files[i];
        const std::int32_t last = std::max(file.facts.lastTime, 0), first = std::max(file.facts.firstTime, 0);
        const bool isNewest = i + 1 == ring.files.size();
        const Moment latest = ring.hasDates || isNewest ? file.modified + shift + LARGEST_STEP_BACK / 90
                                                        : next + LARGEST_STEP_BACK / 90;
        Moment lastDay = latest - latest % DAY;
        if (lastDay + last > latest)
            lastDay -= DAY;
        file.firstDay = lastDay - static_cast<Moment>(file.facts.midnights) * DAY;
        next = file.firstDay + first;
    }
}

} // namespace

void orderRing(Ring& ring, std::vector<std::string>& notes) {
    std::sort(ring.files.begin(), ring.files.end(),
              [](const RingFile& a, const RingFile& b) { return a.index < b.index; });
    Moment shift = 0;
    ring.hasDates = areTimesTrue(ring, shift);
    const bool hasTimes = std::any_of(ring.files.begin(), ring.files.end(),
                                      [](const RingFile& file) { return file.facts.lastTime >= 0; });
    if (ring.hasDates || !hasTimes)
        std::stable_sort(ring.files.begin(), ring.files.end(), [](const RingFile& a, const RingFile& b) {
            return a.modified / 1000 != b.modified / 1000 ? a.modified < b.modified
                                                          : a.facts.firstTime < b.facts.firstTime;
        });
    else
        orderByContent(ring, notes);
    dateFiles(ring, shift);
    markRuns(ring);
}

std::vector<Ring> findRings(const std::vector<std::string>& paths, std::vector<std::string>& notes) {
    std::map<std::string, Ring> rings;
    std::vector<RingFile> files;
    for (const std::string& path : paths) {
        if (path == "-") {
            Ring& input = rings[path];
            input.baseName = path;
            input.isTrace = true;
            input.files.resize(1);
            input.files[0].path = path;
            input.files[0].beginsRun = true;
        } else if (S_ISDIR(statusOf(path).st_mode)) {
            for (const std::string& found : ringFilesIn(path))
                files.push_back(fileAt(found));
        } else if (isBundle(path)) {
            for (const BundledFile& found : unpackBundle(path, isRingFile, notes))
                files.push_back(fileIn(path, found));
        } else {
            files.push_back(fileAt(path));
        }
    }
    const auto isBefore = [](const RingFile& a, const RingFile& b) { return a.path < b.path; };
    const auto isSame = [](const RingFile& a, const RingFile& b) { return a.path == b.path; };
    std::stable_sort(files.begin(), files.end(), isBefore);
    files.erase(std::unique(files.begin(), files.end(), isSame), files.end());
    for (RingFile& file : files) {
        if (!lookAt(file)) {
            if (file.size != 0)
                notes.push_back(file.path + ": holds neither a trace nor a log");
            continue;
        }
        Ring& ring = rings[baseNameOf(file.path, file.index)];
        ring.isTrace = file.facts.isTrace;
        ring.files.push_back(std::move(file));
    }
    std::vector<Ring> result;
    for (auto& [name, ring] : rings) {
        ring.baseName = name;
        if (name != "-")
            orderRing(ring, notes);
        result.push_back(std::move(ring));
    }
    return result;
}

} // namespace Zevo
