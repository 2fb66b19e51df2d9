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

const int TRIES = 100; // others may create or remove it at the same moment, but not every time

/// Gives the lock file the mode and the group of the file, as far as this user may.
void letOthersTakeIt(const std::string& path, int descriptor) {
    struct stat file;
    struct stat lock;
    if (stat(path.c_str(), &file) != 0 || fstat(descriptor, &lock) != 0)
        return;
    // A lock file is empty. A file that somebody has put in its place must not be made accessible to others.
    if (!S_ISREG(lock.st_mode) || lock.st_nlink != 1 || lock.st_size != 0)
        return;
    // A user who may only write the file must still be able to open the lock file.
    const mode_t mode = (file.st_mode & 0666) | (file.st_mode & 0222) << 1;
    if (lock.st_gid != file.st_gid || (lock.st_uid != file.st_uid && geteuid() == 0))
        keepOwner(descriptor, file.st_uid, file.st_gid);
    if ((lock.st_mode & 0777) != mode)
        fchmod(descriptor, mode);
}

/// Creates the lock file. It gets its name only when others can open it: the umask of this process alone
/// could prevent that.
FileDescriptor makeLockFile(const std::string& path, const std::string& lockPath) {
    static std::atomic<unsigned> calls{0};
    const int flags = O_RDWR | O_CREAT | O_EXCL | OPEN_FLAGS | O_CLOEXEC;
    const std::string temporary =
        pathBeside(lockPath, "." + std::to_string(getpid()) + "-" + std::to_string(++calls));
    FileDescriptor file(open(temporary.c_str(), flags, 0666));
    if (!file.isOpen())
        return file;
    letOthersTakeIt(path, file.get());
    const int error = link(temporary.c_str(), lockPath.c_str()) == 0 ? 0 : errno;
    unlink(temporary.c_str());
    if (error == 0)
        return file;
    file = FileDescriptor();
    errno = error;
    // EEXIST: somebody else was faster. Any other error: the file system has no hard links.
    return error == EEXIST ? FileDescriptor() : FileDescriptor(open(lockPath.c_str(), flags, 0666));
}

/// Opens the lock file, and creates it if it is missing. Two steps, because a system may refuse O_CREAT for
/// another user's file in a shared folder.
/// @return an empty owner on failure: errno is the reason, and `isClosedToUser` says that the file exists but
/// this user may not open it
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

/// How long this process has held locks since it last paused for others, in microseconds.
std::atomic<long long> held{0};
const long long FAIR_SHARE = 20000;

/// A process that takes its lock again right after releasing it would keep all others out: waiters poll, so
/// the kernel passes the lock to none of them. Of four that wrote without pause, one never got the lock in 5
/// seconds. So a process that has had its share pauses first, for 2 percent of its time at most.
void takeTurns() {
    if (held >= FAIR_SHARE) {
        held = 0;
        LockWait::letOthersIn();
    }
}

/// A process that could not create the lock file has locked the file itself: wait for that lock, too.
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
        // Do not lock the file itself then: the next user might take the lock file's lock, and both would
        // hold one.
        if (isClosedToUser || !forbidsNewFile(errno))
            return LockResult::FAILED;
        m_file = openWithSomeAccess(path, O_NONBLOCK);
        if (!m_file.isOpen())
            return LockResult::FAILED;
        const LockResult result = wait.take(m_file.get(), LOCK_EX);
        if (result != LockResult::HELD)
            return result;
        // Meanwhile the file may have been replaced, or somebody else may have created the lock file.
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
