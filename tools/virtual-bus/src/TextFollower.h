#pragma once

#include "Waiting.h"

#include <string>

namespace Zevo {

/// Reads a growing text file the way a user follows it. The file need not exist yet.
class TextFollower {
public:
    explicit TextFollower(const std::string& path) : m_path(path) {}

    /// Waits until the text appears behind the last one that was awaited; false at the deadline.
    bool waitFor(const std::string& awaited, std::chrono::milliseconds longest = LONGEST_WAIT);

    /// The next complete line, without its end; false when there is none yet.
    bool nextLine(std::string& line);

    /// Everything read so far, up to the file's present end.
    const std::string& text();

    /// How often the file holds this text by now.
    int count(const std::string& wanted);

    /// From here on, waitFor looks only at what is written from now on.
    void skipToEnd() { m_position = text().size(); }

    /// Forgets what was read, for a file that has been begun anew; the second form goes on with another file.
    void restart() { restart(std::string(m_path)); }
    void restart(const std::string& path);

    const std::string& path() const { return m_path; }

private:
    std::string m_path;
    std::string m_text;
    std::string::size_type m_position = 0;
};

} // namespace Zevo
