#include "BundledFiles.h"

#include <archive.h>
#include <archive_entry.h>

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

/** What is unpacked of the entry at hand; `isWhole` tells whether that is all of it. */
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
                                      std::vector<std::string>& notes) {
    const std::unique_ptr<archive, int (*)(archive*)> packed(archive_read_new(), &archive_read_free);
    archive_read_support_format_tar(packed.get());
    archive_read_support_filter_gzip(packed.get());
    std::vector<BundledFile> files;
    archive_entry* entry = nullptr;
    bool isKnown = false, isWhole = true;
    int result = archive_read_open_filename(packed.get(), path.c_str(), BLOCK);
    while (result >= ARCHIVE_WARN && isWhole &&
           (result = archive_read_next_header(packed.get(), &entry)) >= ARCHIVE_WARN &&
           result != ARCHIVE_EOF) {
        isKnown = true;
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
