#include "Colours.h"

#include <cstdlib>
#include <unistd.h>

namespace Zevo {
namespace {

std::string variable(const char* name) {
    const char* value = std::getenv(name);
    return value ? value : "";
}

} // namespace

bool takesColours(std::FILE* stream) {
    return variable("NO_COLOR").empty() && variable("TERM") != "dumb" && isatty(fileno(stream)) == 1;
}

std::string Colours::painted(const char* colour, std::string_view text) const {
    if (!m_on || text.empty())
        return std::string(text);
    return std::string("\033[").append(colour).append("m").append(text).append("\033[0m");
}

} // namespace Zevo
