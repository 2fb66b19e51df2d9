#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace Zevo {

/// The word that somebody probably meant: the one that differs only in letter case, else the nearest by
/// inserted, missing, wrong and swapped letters. Empty if none is near. A word that is one of them is
/// returned as it is.
std::string meantBy(std::string_view word, const std::vector<std::string_view>& candidates);

/// Converts ASCII letters to lower case.
std::string smallLetters(std::string_view text);

} // namespace Zevo
