#pragma once

#include "FileFinder.h"

/// A FileFinder that takes its pattern exactly as given: txt finds only an entry called txt, and "*.*" only
/// paths with a dot.
class PatternFileFinder : public FileFinder {
public:
    PatternFileFinder(const std::string& folder, const std::string& pattern);
};
