#include "BundledFiles.h"

#include <archive.h>
#include <archive_entry.h>
#include <fmt/format.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fstream>
#include <stdexcept>

namespace Zevo {
namespace {

constexpr std::size_t BLOCK = std::size_t{1} << 16U;

[[noreturn]] void complainOfRoom(const std::string& path) {
    throw std::runtime_error(path + ": cannot be unpacked: " + std::strerror(errno));
}

/// The number and total size of a bundle's files so far. Sizes are those that the bundle declares, which no
/// file exceeds. Unwanted files count as well: they must be decompressed, too.
class Total {
public:
    Total(const std::string& path, const BundleLimits& limits) : m_path(path), m_limits(limits) {}

    void add(archive_entry* entry) {
        if (++m_files > m_limits.files)
            complain(fmt::format("holds more than {} files", m_limits.files));
        const auto size = static_cast<std::uint64_t>(std::max<la_int64_t>(0, archive_entry_size(entry)));
        if (size > m_limits.bytes - m_bytes)
            complain(fmt::format("holds more than {} MB", m_limits.bytes / 1'000'000));
        m_bytes += size;
    }

private:
    [[noreturn]] void complain(const std::string& what) const {
        throw std::runtime_error(
            fmt::format("{}: {}; unpack what is needed of it, and name the folder", m_path, what));
    }

    const std::string& m_path;
    const BundleLimits& m_limits;
    std::size_t m_files = 0;
    std::uint64_t m_bytes = 0;
};

/// The unpacked part of the present entry; `isWhole` says whether it is complete.
BundledFile unpack(archive* packed, archive_entry* entry, const std::string& path, bool& isWhole) {
    BundledFile file;
    file.name = archive_entry_pathname(entry);
    file.modified = archive_entry_mtime(entry);
    file.content = {std::tmpfile(), [](std::FILE* content) {
                        if (content != nullptr)
                            std::fclose(content);
                    }};
    if (!file.content)
        complainOfRoom(path);
    std::vector<char> part(BLOCK);
    la_ssize_t length = 0;
    while ((length = archive_read_data(packed, part.data(), part.size())) > 0) {
        const auto count = static_cast<std::size_t>(length);
        if (std::fwrite(part.data(), 1, count, file.content.get()) != count)
            complainOfRoom(path);
        file.size += count;
    }
    if (std::fflush(file.content.get()) != 0)
        complainOfRoom(path);
    isWhole = length == 0;
    return file;
}

} // namespace

bool isBundle(const std::string& path) {
    char magic[2] = {};
    std::ifstream file(path, std::ios::binary);
    return file.read(magic, sizeof magic) && magic[0] == '\x1f' && magic[1] == '\x8b';
}

std::vector<BundledFile> unpackBundle(const std::string& path,
                                      const std::function<bool(const std::string& name)>& isWanted,
                                      std::vector<std::string>& notes, const BundleLimits& limits) {
    const std::unique_ptr<archive, int (*)(archive*)> packed(archive_read_new(), &archive_read_free);
    archive_read_support_format_tar(packed.get());
    archive_read_support_filter_gzip(packed.get());
    std::vector<BundledFile> files;
    archive_entry* entry = nullptr;
    bool isKnown = false, isWhole = true;
    Total total(path, limits);
    int result = archive_read_open_filename(packed.get(), path.c_str(), BLOCK);
    while (result >= ARCHIVE_WARN && isWhole &&
           (result = archive_read_next_header(packed.get(), &entry)) >= ARCHIVE_WARN &&
           result != ARCHIVE_EOF) {
        isKnown = true;
        total.add(entry);
        const char* const name = archive_entry_pathname(entry);
        if (archive_entry_filetype(entry) == AE_IFREG && name != nullptr && isWanted(name))
            files.push_back(unpack(packed.get(), entry, path, isWhole));
    }
    if (result < ARCHIVE_WARN || !isWhole) {
        const char* const reason = archive_error_string(packed.get());
        const std::string text = reason == nullptr ? "unknown" : reason;
        if (!isKnown)
            throw std::runtime_error(path + ": is packed, but no bundle as zevo-check writes it: " + text);
        notes.push_back(path + ": is cut short or damaged, what stands before that is read: " + text);
    }
    return files;
}

} // namespace Zevo
