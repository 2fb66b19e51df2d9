#pragma once

namespace kf::detail {

/// Copies a file's extended attributes and access list from one open file to another. Attributes that the
/// system does not let this user copy are left out. Set the mode of the other file afterwards: on some
/// systems an access list changes its group bits.
/// @return false if an access list was left out
bool copyAttributes(int from, int to);

} // namespace kf::detail
