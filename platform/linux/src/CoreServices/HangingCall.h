#pragma once

#include "AllSignalsBlocked.h"

#include <future>
#include <system_error>

namespace platform {

/// Makes a call that may wait for a file system for ever. A thread that waits so hears no signal, and the launcher could
/// not be told to stop: so another thread makes the call, and this one waits for it where signals reach it. Where there
/// is no thread to be had, this one makes the call.
/// @return what the call returns; what it throws, comes out here
template <typename Call>
auto makeHangingCall(Call call) -> decltype(call()) {
    std::future<decltype(call())> result;
    try {
        const AllSignalsBlocked onTheOtherThread;
        result = std::async(std::launch::async, call);
    } catch (const std::system_error&) {
        return call();
    }
    return result.get();
}

} // namespace platform
