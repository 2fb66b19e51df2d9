#pragma once

#include <string>

namespace kf::detail {

/// What printf would print for a format if every argument were 0 or an empty text: "%%" gives "%", "%5d"
/// gives "    0", "%s" and "%c" give only their padding, "%n" gives nothing and stores nothing, "*" is a
/// width of 0, and anything that is not a conversion is copied.
///
/// The format ends at its first NUL byte. The result is limited to a little more than the longest message,
/// however large a width the format contains.
std::string formatWithoutArguments(const std::string& format);

} // namespace kf::detail
