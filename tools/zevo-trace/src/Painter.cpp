#include "Painter.h"

#include <ctime>
#include <fmt/format.h>

namespace Zevo {

std::string painted(const TraceLine& line, const Colours& colours) {
    if (line.text.empty())
        return std::string(line.whole);
    const auto size = static_cast<std::size_t>(line.text.data() - line.whole.data());
    const std::string_view columns = line.whole.substr(0, size);
    const std::string_view behind = line.whole.substr(size + line.text.size());
    const auto text = [&]() -> std::string {
        switch (line.kind) {
        case LineKind::call:
        case LineKind::stackCall:
            return colours.name(line.text);
        case LineKind::exit:
            return colours.faint(line.text);
        case LineKind::message:
        case LineKind::log:
            return line.level == 'E'   ? colours.error(line.text)
                   : line.level == 'W' ? colours.warning(line.text)
                                       : colours.strong(line.text);
        case LineKind::stackHead:
        case LineKind::objectsHead:
        case LineKind::torn:
            return colours.error(line.text);
        default:
            return std::string(line.text);
        }
    }();
    return colours.faint(columns) + text + std::string(behind);
}

std::string timeTextOf(Moment time) {
    const Moment inDay = time % DAY;
    return fmt::format("{:02}:{:02}:{:02}.{:03}", inDay / 3600000, inDay / 60000 % 60, inDay / 1000 % 60,
                       inDay % 1000);
}

std::string dateTextOf(Moment time) {
    const auto seconds = static_cast<time_t>(time / 1000);
    std::tm parts = {};
    gmtime_r(&seconds, &parts);
    return fmt::format("{:04}-{:02}-{:02}", parts.tm_year + 1900, parts.tm_mon + 1, parts.tm_mday);
}

std::string textOf(Moment time, bool isDated) {
    if (time < 0)
        return "";
    return isDated ? dateTextOf(time) + " " + timeTextOf(time) : timeTextOf(time);
}

std::string durationText(Moment milliseconds) {
    if (milliseconds < 1000)
        return fmt::format("{} ms", milliseconds);
    if (milliseconds < 60000)
        return fmt::format("{:.1f} s", static_cast<double>(milliseconds) / 1000);
    if (milliseconds < 3600000)
        return fmt::format("{} min {} s", milliseconds / 60000, milliseconds / 1000 % 60);
    return fmt::format("{} h {} min", milliseconds / 3600000, milliseconds / 60000 % 60);
}

} // namespace Zevo
