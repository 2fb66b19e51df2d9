#include "detail/ThreadId.h"

#include "KFThread.h"

#include <atomic>

namespace kf::detail {

std::uint64_t currentThreadKey() {
    // pthread_t is a pointer on one host and an integer on another: this cast accepts both.
    return std::uintptr_t(KFThread::getCurrentThreadId());
}

std::int32_t currentThreadNumber() {
    return static_cast<std::int32_t>(static_cast<std::uint32_t>(currentThreadKey()));
}

std::uint64_t newUniqueNumber() {
    static std::atomic<std::uint64_t> last{0};
    return ++last;
}

} // namespace kf::detail
