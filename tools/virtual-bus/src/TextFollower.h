#pragma once

#include "Waiting.h"

#include <string>

namespace Zevo {

/// Reads a growing text file as a user follows it. The file need not exist yet.
class TextFollower {
public:
    explicit TextFollower(const std::string& path) : m_path(path) {}

    /// Waits until the text appears behind the last one that was waited for; false at the deadline.
    bool waitFor(const std::string& awaited, std::chrono::milliseconds longest = LONGEST_WAIT);

    /// The next complete line, without its line feed; false if there is none yet.
    bool nextLine(std::string& line);

    /// Everything read so far, up to the file's present end.
    const std::string& text();

    /// How often the file contains this text so far.
    int count(const std::string& wanted);

    /// From now on, waitFor only searches what is written after this call.
    void skipToEnd() { m_position = text().size(); }

    /// Forgets what was read, because the file was restarted; the second form continues with another file.
    void restart() { restart(std::string(m_path)); }
    void restart(const std::string& path);

    const std::string& path() const { return m_path; }

private:
    std::string m_path;
    std::string m_text;
    std::string::size_type m_position = 0;
};

} // namespace Zevo
