#include "detail/FileReplacement.h"

#include "detail/FileAttributes.h"
#include "detail/FileDescriptor.h"
#include "detail/FileLock.h"
#include "detail/LockWait.h"
#include "detail/PathBeside.h"

#include <atomic>
#include <cerrno>
#include <chrono>
#include <climits>
#include <cstdint>
#include <cstdio>
#include <dirent.h>
#include <fcntl.h>
#include <memory>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace kf::detail {

namespace {

const int MAX_LINKS = 40; // as many as the kernel follows before it says ELOOP
const int TRIES = 100;    // names that somebody else has, or that are taken for a leftover meanwhile

const char DIGITS[] = "0123456789abcdef";
const std::size_t SUFFIX_LENGTH = 16;

/// With the separator at the end; empty for a bare name.
std::string folderPrefix(const std::string& path) {
    return path.substr(0, path.rfind('/') + 1);
}

std::string folderOf(const std::string& path) {
    const std::string prefix = folderPrefix(path);
    return prefix.empty() ? "." : prefix;
}

/// Whether the path names a descriptor of a process. Where it leads to is the same open file for everybody
/// who holds it, so another file in its place would not do.
bool isOpenDescriptor(const std::string& path) {
    return path.compare(0, 8, "/dev/fd/") == 0 || path.compare(0, 6, "/proc/") == 0;
}

/// The path that a chain of symbolic links ends in, whether or not a file is there yet; a descriptor ends it,
/// too. realpath cannot be used: it fails for a link whose target is still to be created.
bool followLinks(std::string& path) {
    for (int followed = 0; followed < MAX_LINKS; ++followed) {
        if (isOpenDescriptor(path))
            return true;
        char target[PATH_MAX];
        const ssize_t length = readlink(path.c_str(), target, sizeof(target));
        if (length < 0)
            return errno == EINVAL || errno == ENOENT; // not a link, or nothing there yet
        const std::string text(target, static_cast<std::size_t>(length));
        path = !text.empty() && text[0] == '/' ? text : folderPrefix(path) + text;
    }
    errno = ELOOP;
    return false;
}

bool writeAll(int descriptor, std::string_view content) {
    return writeFully(descriptor, content) == content.size();
}

bool flush(int descriptor, unsigned& lacks) {
#ifdef F_FULLFSYNC
    // Where it exists, fsync alone leaves the data in the drive's own cache.
    if (fcntl(descriptor, F_FULLFSYNC) == 0)
        return true;
#endif
    if (fsync(descriptor) == 0)
        return true;
    if (!isUnsupported(errno))
        return false;
    lacks |= FileReplacement::NO_FLUSH;
    return true;
}

void flushFolder(const std::string& folder) {
    // The rename has happened; a folder that cannot be flushed (some network file systems) takes nothing
    // back.
    const FileDescriptor descriptor(open(folder.c_str(), O_RDONLY | O_CLOEXEC));
    unsigned ignored = 0;
    if (descriptor.isOpen())
        flush(descriptor.get(), ignored);
}

// ---- The file beside

/// What the names of the files beside `path` begin with, folder included.
std::string stemOf(const std::string& path) {
    const std::string folder = folderPrefix(path);
    const std::string hidden = folder + "." + path.substr(folder.size());
    const std::string whole = pathBeside(hidden, "." + std::string(SUFFIX_LENGTH, '0'));
    return whole.substr(0, whole.size() - SUFFIX_LENGTH);
}

/// Digits that no other call gives, of this process or another. They need not be hard to guess: a name that
/// is taken fails.
std::string uniqueSuffix() {
    static std::atomic<std::uint64_t> calls{0};
    const auto time = std::chrono::system_clock::now().time_since_epoch();
    const std::uint64_t value =
        static_cast<std::uint64_t>(time.count()) ^ static_cast<std::uint64_t>(getpid()) << 40 ^ ++calls << 56;
    char suffix[SUFFIX_LENGTH + 1];
    std::snprintf(suffix, sizeof suffix, "%016llx", static_cast<unsigned long long>(value));
    return suffix;
}

bool isNameOfFileBeside(const std::string& name, const std::string& stem) {
    return name.size() == stem.size() + SUFFIX_LENGTH && name.compare(0, stem.size(), stem) == 0 &&
           name.find_first_not_of(DIGITS, stem.size()) == std::string::npos;
}

/// Removes a file that a killed writer left; any other file stays.
void removeIfLeft(const std::string& path) {
    const FileDescriptor file = openWithSomeAccess(path, O_NOFOLLOW | O_NONBLOCK);
    struct stat found;
    // The lock says last that no living writer has it; one that has only just made it then makes another.
    if (file.isOpen() && fstat(file.get(), &found) == 0 && S_ISREG(found.st_mode) && found.st_nlink == 1 &&
        found.st_uid == geteuid() && LockWait::tryToTake(file.get(), LOCK_EX) == LockResult::HELD &&
        isStillAt(path, file.get()))
        unlink(path.c_str());
}

struct FolderCloser {
    void operator()(DIR* folder) const { closedir(folder); }
};

void removeLeftFiles(const std::string& path) {
    const std::string prefix = folderPrefix(path);
    const std::string stem = stemOf(path).substr(prefix.size());
    const std::unique_ptr<DIR, FolderCloser> folder(opendir(folderOf(path).c_str()));
    while (const dirent* const entry = folder != nullptr ? readdir(folder.get()) : nullptr)
        if (isNameOfFileBeside(entry->d_name, stem))
            removeIfLeft(prefix + entry->d_name);
}

/// The file that is to become the new content, locked as long as it is open: a living writer's. Goes with the
/// object, unless it has been renamed.
class FileBeside {
public:
    FileBeside(const std::string& path, mode_t mode) {
        const std::string stem = stemOf(path);
        for (int i = 0; i < TRIES; ++i) {
            m_path = stem + uniqueSuffix();
            m_file = FileDescriptor(
                open(m_path.c_str(), O_RDWR | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, mode));
            if (!m_file.isOpen() && errno != EEXIST)
                return;
            // Between these two calls it looks like a leftover, and another writer may have removed it.
            if (m_file.isOpen() && LockWait::tryToTake(m_file.get(), LOCK_EX) != LockResult::BUSY &&
                isStillAt(m_path, m_file.get()))
                return;
            m_file = FileDescriptor();
        }
    }
    ~FileBeside() {
        if (m_file.isOpen()) {
            const int error = errno;
            unlink(m_path.c_str());
            errno = error;
        }
    }
    FileBeside(const FileBeside&) = delete;
    FileBeside& operator=(const FileBeside&) = delete;

    bool isOpen() const { return m_file.isOpen(); }
    int get() const { return m_file.get(); }
    bool renameTo(const std::string& path) {
        if (rename(m_path.c_str(), path.c_str()) != 0)
            return false;
        m_file = FileDescriptor();
        return true;
    }

private:
    std::string m_path;
    FileDescriptor m_file;
};

/// After the content, so that who may not read the old file cannot read it under the new one's first mode.
void keepAttributes(const std::string& path, const struct stat& old, int descriptor) {
    keepOwner(descriptor, old.st_uid, old.st_gid);
    const FileDescriptor oldFile = openWithSomeAccess(path, O_NONBLOCK);
    mode_t mode = old.st_mode & 07777;
    // The group's bits of a file with an access list are the most that the list gives to anybody.
    if (oldFile.isOpen() && !copyAttributes(oldFile.get(), descriptor))
        mode &= ~static_cast<mode_t>(S_IRWXG);
    fchmod(descriptor, mode);
}

bool writeBeside(const std::string& path, const struct stat* old, std::string_view content, unsigned& lacks) {
    removeLeftFiles(path);
    FileBeside beside(path, old != nullptr ? 0600 : 0666);
    if (!beside.isOpen() || !writeAll(beside.get(), content))
        return false;
    if (old != nullptr)
        keepAttributes(path, *old, beside.get());
    if (!flush(beside.get(), lacks) || !beside.renameTo(path))
        return false;
    flushFolder(folderOf(path));
    return true;
}

// ---- In place

/// Reserves the space that the new content needs beyond the old. A file system that cannot reserve is not an
/// error: the write itself then tells.
bool reserve(int descriptor, off_t size) {
#ifdef F_PREALLOCATE
    struct stat old;
    fstore_t store = {F_ALLOCATEALL, F_PEOFPOSMODE, 0, 0, 0};
    if (fstat(descriptor, &old) != 0 || size <= old.st_size)
        return true;
    store.fst_length = size - old.st_size;
    return fcntl(descriptor, F_PREALLOCATE, &store) == 0 || errno == ENOTSUP || errno == EINVAL;
#else
    const int error = size > 0 ? posix_fallocate(descriptor, 0, size) : 0;
    errno = error;
    // EBADF: without the file system's help the C library looks at each block, which a file that may only be
    // written does not let it do.
    return error == 0 || error == EINVAL || error == EOPNOTSUPP || error == EBADF;
#endif
}

/// Opens a file to write it in place, and keeps its readers out for as long as it is open.
FileDescriptor openInPlace(const std::string& path, unsigned& lacks) {
    LockWait wait;
    for (;;) {
        FileDescriptor file(
            open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0666)); // reserving space may read
        if (!file.isOpen() && errno == EACCES)
            file = FileDescriptor(open(path.c_str(), O_WRONLY | O_CLOEXEC));
        if (!file.isOpen() || FileLock::isOwnLockHeldOf(file.get()))
            return file;
        switch (wait.take(file.get(), LOCK_EX)) {
        case LockResult::HELD:
            break;
        case LockResult::UNSUPPORTED:
            lacks |= FileReplacement::NO_LOCK;
            return file;
        case LockResult::BUSY:
        case LockResult::FAILED:
            return FileDescriptor();
        }
        if (isStillAt(path, file.get())) // else replaced, while this one waited
            return file;
    }
}

bool writeInPlace(const std::string& path, std::string_view content, unsigned& lacks) {
    const FileDescriptor file = openInPlace(path, lacks);
    struct stat old;
    if (!file.isOpen() || fstat(file.get(), &old) != 0)
        return false;
    if (!reserve(file.get(), static_cast<off_t>(content.size()))) {
        const int error = errno;
        if (ftruncate(file.get(), old.st_size) != 0)
            errno = 0;
        errno = error;
        return false;
    }
    return writeAll(file.get(), content) && ftruncate(file.get(), static_cast<off_t>(content.size())) == 0 &&
           flush(file.get(), lacks);
}

/// Opened to write only: with both ends of a pipe in hand, it would not see its reader go.
bool writeToStream(const std::string& path, std::string_view content) {
    const FileDescriptor file(open(path.c_str(), O_WRONLY | O_NOCTTY | O_CLOEXEC));
    return file.isOpen() && writeAll(file.get(), content);
}

bool replaceOrWriteInPlace(const std::string& givenPath, std::string_view content, unsigned& lacks) {
    std::string path = givenPath;
    if (!followLinks(path))
        return false;
    struct stat old;
    const bool exists = stat(path.c_str(), &old) == 0;
    if (exists && !S_ISREG(old.st_mode))
        return writeToStream(path, content);
    if (isOpenDescriptor(path))
        return writeInPlace(path, content, lacks);
    // A file that may not be written stays as it is, although its folder would allow to rename over it.
    if (exists && access(path.c_str(), W_OK) != 0)
        return false;
    if (writeBeside(path, exists ? &old : nullptr, content, lacks))
        return true;
    if (!forbidsNewFile(errno))
        return false;
    if (isUnsupported(errno) || errno == EEXIST)
        lacks |= FileReplacement::NO_NEW_FILE;
    return writeInPlace(path, content, lacks);
}

} // namespace

bool FileReplacement::replace(const std::string& path, std::string_view content, unsigned* lacks) {
    unsigned met = 0;
    const bool isReplaced = replaceOrWriteInPlace(path, content, met);
    if (lacks != nullptr)
        *lacks = met;
    return isReplaced;
}

bool FileReplacement::waitUntilWhole(int descriptor) {
    return FileLock::isOwnLockHeldOf(descriptor) || LockWait().take(descriptor, LOCK_SH) != LockResult::BUSY;
}

std::vector<const char*> FileReplacement::takeUntold(unsigned lacks) {
    static std::atomic<unsigned> told{0};
    const unsigned untold = lacks & ~told.fetch_or(lacks);
    std::vector<const char*> texts;
    for (const auto& [lack, text] : {
             std::pair(NO_LOCK, "no locks here, who writes at the same time may lose a change"),
             std::pair(NO_FLUSH, "no flush here, a power cut may lose what was written"),
             std::pair(NO_NEW_FILE, "no replacement here, a kill during a write may leave a mixture"),
         })
        if ((untold & lack) != 0)
            texts.push_back(text);
    return texts;
}

} // namespace kf::detail
