#pragma once

#include <string>
#include <vector>

/// Whether the text contains the parts, in this order.
inline bool standInOrder(const std::string& text, const std::vector<std::string>& parts) {
    std::string::size_type at = 0;
    for (const std::string& part : parts) {
        at = text.find(part, at);
        if (at == std::string::npos)
            return false;
        at += part.size();
    }
    return true;
}
