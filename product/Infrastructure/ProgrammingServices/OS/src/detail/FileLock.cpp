#include "detail/FileLock.h"

#include "detail/PathBeside.h"

#include <atomic>
#include <cerrno>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace kf::detail {

using std::chrono::duration_cast;
using std::chrono::microseconds;
using std::chrono::steady_clock;

namespace {

thread_local const FileLock* innermost = nullptr;

const int OPEN_FLAGS = O_NONBLOCK | O_NOFOLLOW;

const int TRIES = 100; // others may make or remove it at the same moment, but not again and again

/// Gives the lock file the mode and the group of the file, as far as this user may.
void letOthersTakeIt(const std::string& path, int descriptor) {
    struct stat file;
    struct stat lock;
    if (stat(path.c_str(), &file) != 0 || fstat(descriptor, &lock) != 0)
        return;
    // A lock file is empty. Another one, which somebody has put in its place, must not be opened to others.
    if (!S_ISREG(lock.st_mode) || lock.st_nlink != 1 || lock.st_size != 0)
        return;
    // A user who may only write the file must still be able to open the lock file.
    const mode_t mode = (file.st_mode & 0666) | (file.st_mode & 0222) << 1;
    if (lock.st_gid != file.st_gid || (lock.st_uid != file.st_uid && geteuid() == 0))
        keepOwner(descriptor, file.st_uid, file.st_gid);
    if ((lock.st_mode & 0777) != mode)
        fchmod(descriptor, mode);
}

/// Makes the lock file. It gets its name once others can open it: before, this process's umask alone would refuse them.
FileDescriptor makeLockFile(const std::string& path, const std::string& lockPath) {
    static std::atomic<unsigned> calls{0};
    const int flags = O_RDWR | O_CREAT | O_EXCL | OPEN_FLAGS | O_CLOEXEC;
    const std::string unready =
        pathBeside(lockPath, "." + std::to_string(getpid()) + "-" + std::to_string(++calls));
    FileDescriptor file(open(unready.c_str(), flags, 0666));
    if (!file.isOpen())
        return file;
    letOthersTakeIt(path, file.get());
    const int error = link(unready.c_str(), lockPath.c_str()) == 0 ? 0 : errno;
    unlink(unready.c_str());
    if (error == 0)
        return file;
    file = FileDescriptor();
    errno = error;
    // Otherwise the file system has no hard links.
    return error == EEXIST ? FileDescriptor() : FileDescriptor(open(lockPath.c_str(), flags, 0666));
}

/// Opens the lock file, and makes it where it is missing. Two steps, because a system may refuse to open
/// another user's file in a shared folder when the call could have made it.
/// @return an empty owner: errno says why, and `isClosedToUser` that it is there and not for this user
FileDescriptor openLockFile(const std::string& path, const std::string& lockPath, bool& isClosedToUser) {
    FileDescriptor file;
    for (int i = 0; i < TRIES && !file.isOpen(); ++i) {
        file = openWithSomeAccess(lockPath, OPEN_FLAGS);
        isClosedToUser = !file.isOpen() && (errno == EACCES || errno == EPERM);
        if (file.isOpen() || errno != ENOENT)
            break;
        file = makeLockFile(path, lockPath);
        if (!file.isOpen() && errno != EEXIST)
            break;
    }
    return file;
}

/// For how long this process has held locks since it last let others in, in microseconds.
std::atomic<long long> held{0};
const long long FAIR_SHARE = 20000;

/// A process that takes its lock again as soon as it has given it back would keep all others out: nobody
/// hands a lock on, and those who wait look for it from time to time. Of four that wrote without pause, one
/// waited in vain for 5 seconds. So a process that has had its share lets them in first, 2 percent of its
/// time at most.
void takeTurns() {
    if (held >= FAIR_SHARE) {
        held = 0;
        LockWait::letOthersIn();
    }
}

/// A process that could not make the lock file has locked the file itself: wait for it, too.
LockResult waitForOwnLock(const std::string& path, LockWait& wait) {
    const FileDescriptor file = openWithSomeAccess(path, O_NONBLOCK);
    const bool isBusy = file.isOpen() && wait.take(file.get(), LOCK_SH) == LockResult::BUSY;
    return isBusy ? LockResult::BUSY : LockResult::HELD;
}

} // namespace

FileLock::FileLock(const std::string& path)
    : m_result(take(path)), m_outer(innermost), m_since(steady_clock::now()) {
    if (!isHeld())
        m_file = FileDescriptor();
    innermost = this;
}

FileLock::~FileLock() {
    innermost = m_outer;
    held += duration_cast<microseconds>(steady_clock::now() - m_since).count();
}

LockResult FileLock::take(const std::string& path) {
    takeTurns();
    const std::string lockPath = pathBeside(path, ".lock");
    LockWait wait;
    for (;;) {
        bool isClosedToUser = false;
        m_file = openLockFile(path, lockPath, isClosedToUser);
        if (m_file.isOpen()) {
            letOthersTakeIt(path, m_file.get());
            const LockResult result = wait.take(m_file.get(), LOCK_EX);
            return result == LockResult::HELD ? waitForOwnLock(path, wait) : result;
        }
        // Else the next user might make the lock file, or take its lock, and this one would hold another.
        if (isClosedToUser || !forbidsNewFile(errno))
            return LockResult::FAILED;
        m_file = openWithSomeAccess(path, O_NONBLOCK);
        if (!m_file.isOpen())
            return LockResult::FAILED;
        const LockResult result = wait.take(m_file.get(), LOCK_EX);
        if (result != LockResult::HELD)
            return result;
        // Meanwhile the file may have been replaced, or the lock file made by somebody who can.
        m_isOwn = isStillAt(path, m_file.get()) && !openWithSomeAccess(lockPath, OPEN_FLAGS).isOpen();
        if (m_isOwn)
            return result;
    }
}

bool FileLock::isOwnLockHeldOf(int descriptor) {
    for (const FileLock* lock = innermost; lock != nullptr; lock = lock->m_outer) {
        struct stat locked;
        struct stat asked;
        if (lock->isHeld() && lock->m_isOwn && fstat(lock->m_file.get(), &locked) == 0 &&
            fstat(descriptor, &asked) == 0 && isSameFile(locked, asked))
            return true;
    }
    return false;
}

} // namespace kf::detail
