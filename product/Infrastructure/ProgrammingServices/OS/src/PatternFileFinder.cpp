#include "PatternFileFinder.h"

#include "FileSearch.h"

PatternFileFinder::PatternFileFinder(const std::string& folder, const std::string& pattern)
    : FileFinder(FileSearch::withSharedManager(folder, pattern)) {}
