#pragma once

#include <cstdint>

namespace kf::detail {

/// The calling thread's whole handle as a number: no two living threads share it.
std::uint64_t currentThreadKey();

/// Its low 32 bits, as lines show them, so that the columns have one width on every host.
std::int32_t currentThreadNumber();

/// A number that identifies an object whose address may be reused later. Not 0; no two calls return the same.
std::uint64_t newUniqueNumber();

} // namespace kf::detail
