#pragma once

#include <cstdio>
#include <string>
#include <string_view>

namespace Zevo {

/// Whether to use colours on this stream: it is a terminal, NO_COLOR in the environment is unset or empty,
/// and TERM is not "dumb".
bool takesColours(std::FILE* stream);

/// Adds the terminal's colours to texts, or leaves them as they are.
class Colours {
public:
    explicit Colours(bool on) : m_on(on) {}

    std::string error(std::string_view text) const { return painted("1;31", text); }
    std::string warning(std::string_view text) const { return painted("33", text); }
    std::string good(std::string_view text) const { return painted("32", text); }
    std::string strong(std::string_view text) const { return painted("1", text); }
    std::string faint(std::string_view text) const { return painted("2", text); }
    std::string name(std::string_view text) const { return painted("36", text); }

private:
    std::string painted(const char* colour, std::string_view text) const;

    bool m_on;
};

} // namespace Zevo
