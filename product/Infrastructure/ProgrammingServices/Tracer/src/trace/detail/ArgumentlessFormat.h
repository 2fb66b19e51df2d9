#pragma once

#include <string>

namespace kf::detail {

/// What printf would make of a format, if every argument that it asks for were 0 or an empty text: "%%" gives
/// "%", "%5d" gives "    0", "%s" and "%c" give nothing but their padding, "%n" gives nothing and stores
/// nothing, "*" is a width of 0, and what is no conversion stands for itself.
///
/// The format ends at its first NUL byte. The result is cut a little behind the length that any message is
/// cut to, however large a width the format names.
std::string formatWithoutArguments(const std::string& format);

} // namespace kf::detail
