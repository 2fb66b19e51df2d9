#include "WrappedCalls.h"

#include "ContractChecks.h"
#include "DescriptorPath.h"
#include "Substitute.h"

#include <CoreServices/CoreServices.h>

#include <cerrno>
#include <cstdint>
#include <cstring>
#include <fcntl.h>
#include <memory>
#include <mutex>
#include <pthread.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

struct Records {
    int joins = 0;
    int recursiveTypesSet = 0;
    int detachState = -1;
    std::vector<unsigned> microsecondsSlept;
    std::vector<unsigned> secondsSlept;
    std::vector<unsigned> executablePathSizes;
    std::vector<int> foldersAskedFor;
    unsigned folderPathSize = 0;
    std::vector<std::string> flushesAndRenames;
    std::vector<std::string> violations;
};

std::mutex recordsLock;
Records records;

template <class Change>
void record(Change change) {
    const std::lock_guard<std::mutex> lock(recordsLock);
    change(records);
}

template <class Value>
Value recorded(Value Records::*value) {
    const std::lock_guard<std::mutex> lock(recordsLock);
    return records.*value;
}

} // namespace

WrappedCalls& WrappedCalls::get() {
    static WrappedCalls calls;
    return calls;
}

void WrappedCalls::reset() {
    get() = WrappedCalls();
    record([](Records& r) { r = Records(); });
}

int WrappedCalls::joins() {
    return recorded(&Records::joins);
}
int WrappedCalls::recursiveTypesSet() {
    return recorded(&Records::recursiveTypesSet);
}
int WrappedCalls::detachState() {
    return recorded(&Records::detachState);
}
std::vector<unsigned> WrappedCalls::microsecondsSlept() {
    return recorded(&Records::microsecondsSlept);
}
std::vector<unsigned> WrappedCalls::secondsSlept() {
    return recorded(&Records::secondsSlept);
}
std::vector<unsigned> WrappedCalls::executablePathSizes() {
    return recorded(&Records::executablePathSizes);
}
std::vector<int> WrappedCalls::foldersAskedFor() {
    return recorded(&Records::foldersAskedFor);
}
unsigned WrappedCalls::folderPathSize() {
    return recorded(&Records::folderPathSize);
}
std::vector<std::string> WrappedCalls::flushesAndRenames() {
    return recorded(&Records::flushesAndRenames);
}
std::vector<std::string> WrappedCalls::violations() {
    return recorded(&Records::violations);
}

static int failWith(int error) {
    errno = error;
    return -1;
}

SUBSTITUTE(int, fsync, (int descriptor)) {
    record([&](Records& r) { r.flushesAndRenames.push_back("flush " + descriptorPath(descriptor)); });
    struct stat status = {};
    const bool isFolder = fstat(descriptor, &status) == 0 && S_ISDIR(status.st_mode);
    const int error = isFolder ? WrappedCalls::get().folderFlushError : WrappedCalls::get().flushError;
    return error != 0 ? failWith(error) : ORIGINAL(fsync)(descriptor);
}

SUBSTITUTE(int, flock, (int descriptor, int operation)) {
    if (WrappedCalls::get().lockInterruptions > 0) {
        --WrappedCalls::get().lockInterruptions;
        return failWith(EINTR);
    }
    if (WrappedCalls::get().lockError != 0)
        return failWith(WrappedCalls::get().lockError);
    if (WrappedCalls::get().locksNeedWriting && (fcntl(descriptor, F_GETFL) & O_ACCMODE) == O_RDONLY)
        return failWith(EBADF);
    return ORIGINAL(flock)(descriptor, operation);
}

/// How many of the requested bytes the next transfer may take; -1, with errno set, if it is to fail.
static ssize_t boundOfTransfer(std::size_t size) {
    WrappedCalls& calls = WrappedCalls::get();
    if (calls.interruptions > 0) {
        --calls.interruptions;
        return failWith(EINTR);
    }
    if (calls.transfersBeforeError == 0)
        return failWith(calls.transferError);
    if (calls.transfersBeforeError > 0)
        --calls.transfersBeforeError;
    return static_cast<ssize_t>(calls.mostBytes != 0 && calls.mostBytes < size ? calls.mostBytes : size);
}

SUBSTITUTE(ssize_t, read, (int descriptor, void* to, std::size_t size)) {
    const ssize_t bound = boundOfTransfer(size);
    return bound < 0 ? bound : ORIGINAL(read)(descriptor, to, static_cast<std::size_t>(bound));
}

SUBSTITUTE(ssize_t, write, (int descriptor, const void* from, std::size_t size)) {
    const ssize_t bound = boundOfTransfer(size);
    return bound < 0 ? bound : ORIGINAL(write)(descriptor, from, static_cast<std::size_t>(bound));
}

SUBSTITUTE(int, link, (const char* from, const char* to)) {
    const int error = WrappedCalls::get().linkError;
    return error != 0 ? failWith(error) : ORIGINAL(link)(from, to);
}

SUBSTITUTE(int, fchmod, (int descriptor, mode_t mode)) {
    if (WrappedCalls::get().beforeModeChange)
        WrappedCalls::get().beforeModeChange();
    return ORIGINAL(fchmod)(descriptor, mode);
}

SUBSTITUTE(int, rename, (const char* from, const char* to)) {
    record([&](Records& r) { r.flushesAndRenames.push_back(std::string("rename ") + from + " " + to); });
    const int error = WrappedCalls::get().renameError;
    return error != 0 ? failWith(error) : ORIGINAL(rename)(from, to);
}

namespace {

struct DelayedThread {
    void* (*entry)(void*);
    void* arg;
    std::function<void()> before;
};

void* startDelayed(void* arg) {
    const std::unique_ptr<DelayedThread> thread(static_cast<DelayedThread*>(arg));
    thread->before();
    return thread->entry(thread->arg);
}

} // namespace

SUBSTITUTE(int, pthread_create,
           (pthread_t * handle, const pthread_attr_t* attr, void* (*entry)(void*), void* arg)) {
    const WrappedCalls& calls = WrappedCalls::get();
    if (calls.pthreadCreateError != 0)
        return calls.pthreadCreateError;
    if (calls.beforeThreadBody) {
        auto* const delayed = new DelayedThread{entry, arg, calls.beforeThreadBody};
        return ORIGINAL(pthread_create)(handle, attr, startDelayed, delayed);
    }
    pthread_t created;
    const int result = ORIGINAL(pthread_create)(&created, attr, entry, arg);
    if (calls.afterThreadCreated)
        calls.afterThreadCreated();
    *handle = created;
    return result;
}

SUBSTITUTE(int, pthread_join, (pthread_t handle, void** result)) {
    record([](Records& r) { ++r.joins; });
    return ORIGINAL(pthread_join)(handle, result);
}

SUBSTITUTE(int, pthread_attr_init, (pthread_attr_t * attr)) {
    const int error = WrappedCalls::get().attrInitError;
    // Initialised in any case, because the thread uses it even after this failure.
    const int result = ORIGINAL(pthread_attr_init)(attr);
    return error != 0 ? error : result;
}

SUBSTITUTE(int, pthread_attr_setdetachstate, (pthread_attr_t * attr, int state)) {
    record([state](Records& r) { r.detachState = state; });
    const int error = WrappedCalls::get().setDetachStateError;
    return error != 0 ? error : ORIGINAL(pthread_attr_setdetachstate)(attr, state);
}

SUBSTITUTE(int, pthread_mutexattr_settype, (pthread_mutexattr_t * attr, int type)) {
    record([type](Records& r) { r.recursiveTypesSet += type == PTHREAD_MUTEX_RECURSIVE; });
    return ORIGINAL(pthread_mutexattr_settype)(attr, type);
}

SUBSTITUTE(int, pthread_mutex_lock, (pthread_mutex_t * mutex)) {
    const int error = WrappedCalls::get().mutexError;
    return error != 0 ? error : ORIGINAL(pthread_mutex_lock)(mutex);
}

SUBSTITUTE(int, pthread_mutex_trylock, (pthread_mutex_t * mutex)) {
    const int error = WrappedCalls::get().mutexError;
    return error != 0 ? error : ORIGINAL(pthread_mutex_trylock)(mutex);
}

SUBSTITUTE(int, pthread_mutex_unlock, (pthread_mutex_t * mutex)) {
    const int error = WrappedCalls::get().mutexError;
    return error != 0 ? error : ORIGINAL(pthread_mutex_unlock)(mutex);
}

SUBSTITUTE(int, usleep, (unsigned microseconds)) {
    record([microseconds](Records& r) { r.microsecondsSlept.push_back(microseconds); });
    return WrappedCalls::get().sleepAtOnce ? 0 : ORIGINAL(usleep)(microseconds);
}

SUBSTITUTE(unsigned, sleep, (unsigned seconds)) {
    record([seconds](Records& r) { r.secondsSlept.push_back(seconds); });
    return WrappedCalls::get().sleepAtOnce ? 0 : ORIGINAL(sleep)(seconds);
}

SUBSTITUTE(int, _NSGetExecutablePath, (char* buffer, uint32_t* size)) {
    record([size](Records& r) { r.executablePathSizes.push_back(*size); });
    const WrappedCalls& calls = WrappedCalls::get();
    if (calls.executablePathFails)
        return -1;
    if (calls.executablePath.empty())
        return ORIGINAL(_NSGetExecutablePath)(buffer, size);
    const uint32_t needed = static_cast<uint32_t>(calls.executablePath.size()) + 1;
    if (*size < needed) {
        *size = needed;
        return -1;
    }
    memcpy(buffer, calls.executablePath.c_str(), needed);
    return 0;
}

SUBSTITUTE(OSErr, FSFindFolder, (FSVolumeRefNum domain, OSType type, Boolean create, FSRef* folder)) {
    record([=](Records& r) {
        r.foldersAskedFor.insert(r.foldersAskedFor.end(), {domain, static_cast<int>(type), create});
    });
    const WrappedCalls& calls = WrappedCalls::get();
    if (calls.findFolderError != 0)
        return static_cast<OSErr>(calls.findFolderError);
    return calls.folderPath.empty() ? ORIGINAL(FSFindFolder)(domain, type, create, folder)
                                    : static_cast<OSErr>(noErr);
}

SUBSTITUTE(OSStatus, FSRefMakePath, (const FSRef* folder, UInt8* path, UInt32 size)) {
    record([size](Records& r) { r.folderPathSize = size; });
    const WrappedCalls& calls = WrappedCalls::get();
    if (calls.makePathError != 0)
        return calls.makePathError;
    if (calls.folderPath.empty())
        return ORIGINAL(FSRefMakePath)(folder, path, size);
    memcpy(path, calls.folderPath.c_str(), calls.folderPath.size() + 1);
    return noErr;
}

// Replaces the upper floor's definition, which is then not linked in.
void kf::detail::reportContractViolation(const char* kind, const char* condition, const char* file,
                                         int line) {
    const std::string violation =
        std::string(kind) + "|" + condition + "|" + file + "|" + std::to_string(line);
    record([&violation](Records& r) { r.violations.push_back(violation); });
}
