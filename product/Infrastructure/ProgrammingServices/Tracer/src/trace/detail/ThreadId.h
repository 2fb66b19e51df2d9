#pragma once

#include <cstdint>

namespace kf::detail {

/// The calling thread's handle as a number, whole: no two living threads share it.
std::uint64_t currentThreadKey();

/// Its low 32 bits, as lines show them: their columns keep one width on every host.
std::int32_t currentThreadNumber();

} // namespace kf::detail
