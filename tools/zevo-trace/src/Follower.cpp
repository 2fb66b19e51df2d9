#include "Follower.h"

#include <dirent.h>
#include <fstream>
#include <sys/stat.h>

namespace Zevo {
namespace {

constexpr std::size_t BEGINNING = 256;

/// The first characters of a file, at most this many.
std::string beginningOf(const std::string& path, std::size_t length) {
    std::string result(length, '\0');
    std::ifstream file(path, std::ios::binary);
    file.read(result.data(), static_cast<std::streamsize>(length));
    result.resize(static_cast<std::size_t>(file.gcount()));
    return result;
}

} // namespace

Follower::Follower(std::string baseName, const std::string& path, std::uint64_t position)
    : m_baseName(std::move(baseName)) {
    if (path.empty())
        return;
    open(path, position);
    m_beginning = beginningOf(path, std::min<std::uint64_t>(BEGINNING, position));
}

void Follower::poll(const std::function<void(std::string_view line)>& take) {
    if (m_reader) {
        if (wasBegunAgain())
            open(std::string(m_path));
        readOn(take);
    }
    const Place place = newest();
    if (place.path.empty() || place.path == m_path)
        return;
    // First what was written to the old file since it was read, then the new file.
    if (m_reader)
        readOn(take);
    open(place.path);
    readOn(take);
}

// The file of the ring that was written last.
Follower::Place Follower::newest() const {
    Place result;
    const std::string::size_type slash = m_baseName.rfind('/');
    const std::string folder = slash == std::string::npos ? "." : m_baseName.substr(0, slash + 1);
    const std::string stem = m_baseName.substr(slash == std::string::npos ? 0 : slash + 1) + "_";
    const std::unique_ptr<DIR, int (*)(DIR*)> listing(opendir(folder.c_str()), &closedir);
    while (const dirent* const entry = listing ? readdir(listing.get()) : nullptr) {
        const std::string name = entry->d_name;
        const std::string path = m_baseName + name.substr(std::min(name.size(), stem.size() - 1));
        struct stat status = {};
        if (name.compare(0, stem.size(), stem) != 0 || name.size() <= stem.size() + 4 ||
            name.find_first_not_of("0123456789", stem.size()) != name.size() - 4 ||
            name.compare(name.size() - 4, 4, ".txt") != 0 || stat(path.c_str(), &status) != 0 ||
            status.st_size == 0)
            continue;
        const std::int64_t modified =
            static_cast<std::int64_t>(status.st_mtim.tv_sec) * 1000000000 + status.st_mtim.tv_nsec;
        if (result.path.empty() || modified > result.modified ||
            (modified == result.modified && path == m_path))
            result = {path, modified, static_cast<std::uint64_t>(status.st_size)};
    }
    return result;
}

void Follower::open(const std::string& path, std::uint64_t position) {
    m_path = path;
    m_beginning.clear();
    m_reader = std::make_unique<LineReader>(m_path, position);
}

void Follower::readOn(const std::function<void(std::string_view line)>& take) {
    for (std::string_view line; m_reader->next(line);)
        take(line);
    if (m_beginning.size() < BEGINNING)
        m_beginning = beginningOf(m_path, std::min<std::uint64_t>(BEGINNING, m_reader->position()));
}

// A file that was emptied begins with another time, or is still empty.
bool Follower::wasBegunAgain() {
    return beginningOf(m_path, m_beginning.size()) != m_beginning;
}

} // namespace Zevo
