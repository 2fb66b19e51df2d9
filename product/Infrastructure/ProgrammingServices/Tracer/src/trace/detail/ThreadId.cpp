#include "detail/ThreadId.h"

#include "KFThread.h"

namespace kf::detail {

namespace {

// pthread_t is a pointer on one host and an integer on another.
template <typename T>
std::uint64_t asNumber(T* handle) {
    return reinterpret_cast<std::uintptr_t>(handle);
}
template <typename T>
std::uint64_t asNumber(T handle) {
    return static_cast<std::uint64_t>(handle);
}

} // namespace

std::uint64_t currentThreadKey() {
    return asNumber(KFThread::getCurrentThreadId());
}

std::int32_t currentThreadNumber() {
    return static_cast<std::int32_t>(static_cast<std::uint32_t>(currentThreadKey()));
}

} // namespace kf::detail
