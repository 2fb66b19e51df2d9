#include "PatternFileFinder.h"

#include "detail/FileSearch.h"

using namespace kf::detail;

PatternFileFinder::PatternFileFinder(const std::string& folder, const std::string& pattern)
    : FileFinder(FileSearch::begin(folder, pattern, FileSearch::Manager::Shared)) {}
