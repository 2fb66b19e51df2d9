#pragma once

#include <cstdint>
#include <cstdio>
#include <string>

// Addresses of objects as people read them.

namespace kf::detail {

/// For "%x": the low 32 bits, so that a column or a message keeps its width on every host.
inline unsigned shownAddress(const void* object) {
    return static_cast<unsigned>(reinterpret_cast<std::uintptr_t>(object) & 0xffffffffu);
}

/// The whole address, hexadecimal with 0x.
inline std::string addressText(const void* object) {
    char text[2 * sizeof(void*) + 3];
    std::snprintf(text, sizeof text, "%p", object);
    return text;
}

} // namespace kf::detail
