#pragma once

namespace kf::detail {

/// Copies what a file carries beside content, owner and mode, its extended attributes and its access list,
/// from one open file to another. What the system does not let this user copy stays behind. The mode of the
/// other file is to be set afterwards: a list shows in its group bits on some systems.
/// @return false when an access list stayed behind
bool copyAttributes(int from, int to);

} // namespace kf::detail
