#include "detail/NamePattern.h"

namespace kf::detail {

bool isNameCovered(std::string_view pattern, std::string_view name) {
    if (pattern == "*")
        return true;
    if (pattern.empty())
        return name.empty();
    if (pattern.back() == '*') {
        pattern.remove_suffix(1);
        return name.substr(0, pattern.size()) == pattern;
    }
    if (pattern.front() == '*') {
        pattern.remove_prefix(1);
        const std::size_t found = name.find(pattern);
        return found != std::string_view::npos && found + pattern.size() == name.size();
    }
    return pattern == name;
}

bool isNameHidden(std::string_view pattern, std::string_view name) {
    if (pattern.size() >= 2 && pattern.front() == '*' && pattern.back() == '*')
        return name.find(pattern.substr(1, pattern.size() - 2)) != std::string_view::npos;
    return isNameCovered(pattern, name);
}

} // namespace kf::detail
