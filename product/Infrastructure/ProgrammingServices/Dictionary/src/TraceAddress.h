#pragma once

#include <cstdint>

/// An address for "%x" in a trace message: 32 bits on every host, so that the message keeps its width.
inline unsigned traceAddress(const void* object) {
    return static_cast<unsigned>(reinterpret_cast<std::uintptr_t>(object) & 0xffffffffu);
}
