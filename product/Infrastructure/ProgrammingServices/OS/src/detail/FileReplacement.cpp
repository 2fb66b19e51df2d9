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

const int MAX_LINKS = 40; // as many as the kernel follows before ELOOP
const int TRIES = 100;    // for names that exist, or that are removed as leftovers meanwhile

const char DIGITS[] = "0123456789abcdef";
const std::size_t SUFFIX_LENGTH = 16;

/// The folder with its trailing separator; empty for a bare name.
std::string folderPrefix(const std::string& path) {
    return path.substr(0, path.rfind('/') + 1);
}

std::string folderOf(const std::string& path) {
    const std::string prefix = folderPrefix(path);
    return prefix.empty() ? "." : prefix;
}

/// Whether the path names an open descriptor of a process. All its holders use the same open file, so
/// replacing it by another file would not reach them.
bool isOpenDescriptor(const std::string& path) {
    return path.compare(0, 8, "/dev/fd/") == 0 || path.compare(0, 6, "/proc/") == 0;
}

/// Follows a chain of symbolic links to its last path, whether or not that exists yet; the path of a
/// descriptor also ends the chain. Not realpath: it fails if the last target does not exist.
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
    // The rename has happened. A folder that cannot be flushed (on some network file systems) does not undo
    // it.
    const FileDescriptor descriptor(open(folder.c_str(), O_RDONLY | O_CLOEXEC));
    unsigned ignored = 0;
    if (descriptor.isOpen())
        flush(descriptor.get(), ignored);
}

// ---- The file beside

/// The common beginning of the names of the files beside `path`, folder included.
std::string stemOf(const std::string& path) {
    const std::string folder = folderPrefix(path);
    const std::string hidden = folder + "." + path.substr(folder.size());
    const std::string withSuffix = pathBeside(hidden, "." + std::string(SUFFIX_LENGTH, '0'));
    return withSuffix.substr(0, withSuffix.size() - SUFFIX_LENGTH);
}

/// Digits that no other call returns, in this process or another. They may be guessable: open() refuses a
/// name that exists.
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

/// Removes a file that a killed writer has left; leaves any other file alone.
void removeIfLeft(const std::string& path) {
    const FileDescriptor file = openWithSomeAccess(path, O_NOFOLLOW | O_NONBLOCK);
    struct stat found;
    // A lock that can be taken means that no living writer has it. One that has just created it then creates
    // another.
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

/// The file that is to become the new content. It is locked while it is open, to mark it as a living
/// writer's. Removed with the object, unless it was renamed.
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
            // Between these two calls it looks like a leftover, so another writer may have removed it.
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

/// Called after the content is written: until then mode 0600 keeps out everyone who may not read the old
/// file.
void keepAttributes(const std::string& path, const struct stat& old, int descriptor) {
    keepOwner(descriptor, old.st_uid, old.st_gid);
    const FileDescriptor oldFile = openWithSomeAccess(path, O_NONBLOCK);
    mode_t mode = old.st_mode & 07777;
    // With an access list, the group bits are the mask of the list: without it they may give the group too
    // much.
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
/// error: then the write itself may fail.
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
    // EBADF: where the file system cannot reserve, the C library reads each block, and a write-only
    // descriptor cannot.
    return error == 0 || error == EINVAL || error == EOPNOTSUPP || error == EBADF;
#endif
}

/// Opens a file to write it in place, and locks its readers out while it is open.
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
        if (isStillAt(path, file.get())) // else it was replaced during the wait
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

/// Write-only: if this process also held the read end of a pipe, it would not notice that the reader is gone.
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
    // A file that is not writable stays as it is, although its folder would allow renaming over it.
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
    static std::atomic<unsigned> reported{0};
    const unsigned unreported = lacks & ~reported.fetch_or(lacks);
    std::vector<const char*> texts;
    for (const auto& [lack, text] : {
             std::pair(NO_LOCK, "no locks here, who writes at the same time may lose a change"),
             std::pair(NO_FLUSH, "no flush here, a power cut may lose what was written"),
             std::pair(NO_NEW_FILE, "no replacement here, a kill during a write may leave a mixture"),
         })
        if ((unreported & lack) != 0)
            texts.push_back(text);
    return texts;
}

} // namespace kf::detail
