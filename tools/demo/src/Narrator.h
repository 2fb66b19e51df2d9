#pragma once

#include <set>
#include <string>

namespace Zevo {

/// Tells people what happens: one line each, with the time, at once.
class Narrator {
public:
    void say(const std::string& text);

    /// What was said since the last new step is not said again: a composite device arrives several times.
    void sayOnce(const std::string& text);
    void beginStep() { m_said.clear(); }

    /// The last lines of a text, indented, under a title.
    void quoteTail(const std::string& title, const std::string& text, int lineCount);

private:
    std::set<std::string> m_said;
};

} // namespace Zevo
