#pragma once

#include <string>

/// Is notified of a crash before the process ends.
///
/// onCrash() is the third entry of the virtual table, after the two destructors, so nothing may be declared
/// in front of it.
class KFCrashListener {
public:
    virtual ~KFCrashListener() = default;

    /// Called from the signal handler, on the thread that received the signal, after the trace was written.
    /// @param crashText the line that names the cause, as written to the trace
    virtual void onCrash(std::string crashText) = 0;
};
