#pragma once

#include <string>

namespace Zevo {

/// Writes the text into the file, in place of what it contained; creates the file if necessary. Throws
/// std::runtime_error with the file's path if it cannot be written completely.
void writeFile(const std::string& path, const std::string& text);

} // namespace Zevo
