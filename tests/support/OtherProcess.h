#pragma once

#include "ChildEnd.h"
#include "WithoutPrivileges.h"

#include <string>
#include <sys/wait.h>
#include <unistd.h>

/// How a child tells that all went well. Not 0, which is what the crash handler ends a process with.
const int WENT_WELL = 42;

/// Runs `action` in a child process, which it tells its result. Returns the child's exit status, -1 when it
/// died.
template <typename Action>
int statusOfAnotherProcess(Action action) {
    const pid_t child = fork();
    if (child == 0)
        endChild(action() ? WENT_WELL : 1);
    int status = 0;
    return child > 0 && waitpid(child, &status, 0) == child && WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

/// Runs `action` in a child process and returns its result; false as well when the child died or ended
/// itself.
template <typename Action>
bool inAnotherProcess(Action action) {
    return statusOfAnotherProcess(action) == WENT_WELL;
}

/// Whether the crash handler ends a child process in the middle of `action`.
template <typename Action>
bool isEndedByCrashHandler(Action action) {
    return statusOfAnotherProcess([&] {
               action();
               return true;
           }) == 0;
}

/// The same in `folder`, as a user whom file modes bind: the superuser's children become nobody's. Paths are
/// to be relative, since the folders above may be closed to that user.
template <typename Action>
bool asOrdinaryUser(const std::string& folder, Action action) {
    return inAnotherProcess([&] {
        const uid_t nobody = 65534;
        const bool ready =
            chdir(folder.c_str()) == 0 && (geteuid() != 0 || (setgid(nobody) == 0 && setuid(nobody) == 0));
        return ready && action();
    });
}

/// The same as the same user, but bound by file modes, which the superuser is not unless it lays that down.
template <typename Action>
bool boundByFileModes(Action action) {
    return inAnotherProcess([&] {
        WithoutPrivileges::forGood();
        return action();
    });
}
