#include "Narrator.h"

#include <cstdio>
#include <ctime>
#include <sstream>

namespace Zevo {

void Narrator::say(const std::string& text) {
    timespec now;
    clock_gettime(CLOCK_REALTIME, &now);
    tm local;
    localtime_r(&now.tv_sec, &local);
    std::printf("%02d:%02d:%02d.%03d  %s\n", local.tm_hour, local.tm_min, local.tm_sec,
                static_cast<int>(now.tv_nsec / 1000000), text.c_str());
    std::fflush(stdout);
}

void Narrator::sayOnce(const std::string& text) {
    if (m_said.insert(text).second)
        say(text);
}

void Narrator::quoteTail(const std::string& title, const std::string& text, int lineCount) {
    std::string::size_type begin = text.size();
    for (int line = 0; line <= lineCount && begin != 0 && begin != std::string::npos; ++line)
        begin = begin < 1 ? std::string::npos : text.rfind('\n', begin - 1);
    begin = begin == std::string::npos || begin == 0 ? 0 : begin + 1;
    std::printf("\n%s\n", title.c_str());
    std::istringstream lines(text.substr(begin));
    for (std::string line; std::getline(lines, line);)
        std::printf("    %s\n", line.c_str());
    std::printf("\n");
    std::fflush(stdout);
}

} // namespace Zevo
