#pragma once

#include <cstdint>
#include <cstdio>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace Zevo {

/// A moment in milliseconds: local time, counted as if every day had 24 hours, from 1970 on.
using Moment = std::int64_t;

/// What a first reading of a file finds out; the lines are read later.
struct FileFacts {
    bool isTrace = false;        ///< else a log
    std::int32_t firstTime = -1; ///< of the day, in milliseconds; -1: no line has one
    std::int32_t lastTime = -1;
    int midnights = 0;                      ///< the number of midnights between the two
    std::optional<std::int32_t> mainThread; ///< the number of the thread MAIN, if its first line is there
    bool endsWithReport = false;            ///< its last lines are a crash report
};

/// One file of a ring.
struct RingFile {
    std::string path;                    ///< of a file in a bundle: the bundle's, and its name there
    std::shared_ptr<std::FILE> unpacked; ///< the content of a file in a bundle; other files are at the path
    long index = 0;
    std::uint64_t size = 0;
    Moment modified = 0; ///< by this machine's clock
    FileFacts facts;
    Moment firstDay = 0;    ///< the midnight before its first line
    bool beginsRun = false; ///< the program was restarted
};

/// The files of one trace or of one log, in the order in which they were written.
struct Ring {
    std::string baseName; ///< with the folder; "-" for standard input
    bool isTrace = false;
    bool hasDates = false; ///< the modification times gave the days; else only the order is known
    std::vector<RingFile> files;
};

/// How far the time of day may go back without a midnight in between: clocks are set, and summer time ends.
constexpr std::int32_t LARGEST_STEP_BACK = 90 * 60 * 1000;
constexpr std::int32_t DAY = 24 * 60 * 60 * 1000;

/// The rings of these folders and files. A folder stands for every "<name>_<number>.txt" in it, and so does a
/// bundle of `zevo-check`. Files that contain neither a trace nor a log are left out, with a line in `notes`.
/// "-" is standard input, which is not read before its lines are requested.
///
/// Throws std::runtime_error, with the path and the reason, for what cannot be read.
std::vector<Ring> findRings(const std::vector<std::string>& paths, std::vector<std::string>& notes);

/// Sorts files of one ring, whose facts are known, in the order in which they were written, and dates them.
void orderRing(Ring& ring, std::vector<std::string>& notes);

} // namespace Zevo
