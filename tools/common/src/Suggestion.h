#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace Zevo {

/// What somebody who wrote this word is likely to have meant: the one that differs in letter case only, else the nearest
/// by inserted, left out, wrong and swapped letters. Empty when none is near. A word that is among them is itself meant.
std::string meantBy(std::string_view word, const std::vector<std::string_view>& candidates);

/// ASCII letters made small.
std::string smallLetters(std::string_view text);

} // namespace Zevo
