#pragma once

#include "Journal.h"
#include "TemporaryFolder.h"

#include <cmath>
#include <ctime>
#include <fcntl.h>
#include <fstream>
#include <string>
#include <sys/stat.h>
#include <vector>

/// Writes files of rings.
class TraceFiles {
public:
    /// @param time  when the file was last written, in seconds of 2026-01-15, local time
    std::string write(const std::string& name, const std::string& text, double time) {
        const std::string path = m_folder / name;
        std::ofstream(path, std::ios::binary) << text;
        touch(name, time);
        return path;
    }
    void touch(const std::string& name, double time) {
        std::tm day = {};
        day.tm_year = 126;
        day.tm_mday = 15;
        day.tm_isdst = -1;
        timespec moment = {};
        moment.tv_sec = std::mktime(&day) + static_cast<time_t>(std::floor(time));
        moment.tv_nsec = static_cast<long>((time - std::floor(time)) * 1e9);
        const timespec times[] = {moment, moment};
        utimensat(AT_FDCWD, (m_folder / name).c_str(), times, 0);
    }
    const std::string& path() const { return m_folder.path(); }
    std::string operator/(const std::string& name) const { return m_folder / name; }

private:
    TemporaryFolder m_folder;
};

/// A time of day, in seconds.
constexpr double at(int hours, int minutes, double seconds) {
    return hours * 3600 + minutes * 60 + seconds;
}

/// A line of a trace: "[10:00:00-000][th_7    ][MAIN           ]" and the body.
inline std::string traceLine(const std::string& time, const std::string& body, int thread = 7,
                             std::string name = "MAIN") {
    std::string number = std::to_string(thread);
    number.resize(std::max<std::size_t>(5, number.size()), ' ');
    name.resize(std::max<std::size_t>(15, name.size()), ' ');
    return "[" + time + "][th_" + number + "][" + name + "]" + body + "\n";
}

/// The lines of a journal over these paths, unchanged.
struct ReadJournal {
    explicit ReadJournal(const std::vector<std::string>& paths) {
        Zevo::Journal journal(Zevo::findRings(paths, notes), notes);
        for (Zevo::JournalLine line; journal.next(line);) {
            lines.emplace_back(line.line.whole);
            runs.push_back(line.run);
            times.push_back(line.time);
        }
        damages = journal.damages();
    }
    std::vector<std::string> notes;
    std::vector<std::string> lines;
    std::vector<int> runs;
    std::vector<Zevo::Moment> times;
    std::vector<std::string> damages;
};

/// Hands every line of the files to `take`.
template <typename Take>
void readLines(const std::vector<std::string>& paths, Take take) {
    std::vector<std::string> notes;
    Zevo::Journal journal(Zevo::findRings(paths, notes), notes);
    for (Zevo::JournalLine line; journal.next(line);)
        take(line);
}
