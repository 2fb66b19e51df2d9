#include "FaultyDisk.h"

#include <array>
#include <atomic>
#include <cerrno>
#include <cstring>
#include <ctime>
#include <sys/stat.h>
#include <sys/uio.h>
#include <unistd.h>

namespace {

// Read by every write, also in signal handlers.
std::array<char, 1024> faultyPath;
FaultyDisk::Fault fault;
std::atomic<bool> isFaulty{false};
std::atomic<bool> isMet{false};

bool isFileOfTheFaultyDisk(int descriptor) {
    struct stat opened;
    struct stat faulty;
    return isFaulty && fstat(descriptor, &opened) == 0 && stat(faultyPath.data(), &faulty) == 0 &&
           opened.st_ino == faulty.st_ino && opened.st_dev == faulty.st_dev;
}

} // namespace

FaultyDisk::FaultyDisk(const std::string& path, Fault kind) {
    faultyPath = {};
    path.copy(faultyPath.data(), faultyPath.size() - 1);
    fault = kind;
    isMet = false;
    isFaulty = true;
}

FaultyDisk::~FaultyDisk() {
    isFaulty = false;
}

bool FaultyDisk::wasMet() const {
    return isMet;
}

extern "C" ssize_t write(int descriptor, const void* bytes, size_t length) {
    const int error = errno;
    if (isFileOfTheFaultyDisk(descriptor)) {
        isMet = true;
        if (fault == FaultyDisk::Fault::IsFull) {
            errno = ENOSPC;
            return -1;
        }
        while (isFaulty) {
            const timespec moment = {0, 1000000};
            nanosleep(&moment, nullptr);
        }
    }
    errno = error;
    const iovec piece = {const_cast<void*>(bytes), length};
    return writev(descriptor, &piece, 1);
}
