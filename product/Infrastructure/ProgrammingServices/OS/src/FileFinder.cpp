#include "FileFinder.h"

#include "detail/FileSearch.h"

#include <utility>

using namespace kf::detail;

namespace {

std::string openAtTheFront(const std::string& pattern) {
    if (pattern == "*.*")
        return "*";
    return !pattern.empty() && pattern[0] == '*' ? pattern : "*" + pattern;
}

} // namespace

FileFinder::FileFinder(const std::string& folder, const std::string& pattern)
    : FileFinder(FileSearch::begin(folder, openAtTheFront(pattern), FileSearch::Manager::Own)) {}

FileFinder::FileFinder(std::unique_ptr<FileSearch> search) : m_search(std::move(search)) {}

FileFinder::~FileFinder() = default;

bool FileFinder::findFirstFile(std::string& name) {
    return m_search->next(name);
}

bool FileFinder::findNextFile(std::string& name) {
    return m_search->next(name);
}
