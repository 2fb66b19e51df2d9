#pragma once

#include <set>
#include <string>

namespace Zevo {

/// Tells people what happens, one line at a time, with the time.
class Narrator {
public:
    void say(const std::string& text);

    /// Suppresses repetitions since the last new step: a composite device arrives several times.
    void sayOnce(const std::string& text);
    void beginStep() { m_said.clear(); }

    /// The last lines of a text, indented, under a title.
    void quoteTail(const std::string& title, const std::string& text, int lineCount);

private:
    std::set<std::string> m_said;
};

} // namespace Zevo
