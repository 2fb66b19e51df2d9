#pragma once

#include "ChildEnd.h"
#include "WithoutPrivileges.h"

#include <string>
#include <sys/wait.h>
#include <unistd.h>

/// The exit status of a child if all went well. Not 0, with which the crash handler ends a process.
const int WENT_WELL = 42;

/// Runs `action` in a child process, which exits with its result. Returns the child's exit status, -1 if it
/// died.
template <typename Action>
int statusOfAnotherProcess(Action action) {
    const pid_t child = fork();
    if (child == 0)
        endChild(action() ? WENT_WELL : 1);
    int status = 0;
    return child > 0 && waitpid(child, &status, 0) == child && WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

/// Runs `action` in a child process and returns its result; also false if the child died or ended by itself.
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

/// The same in `folder`, as a user to whom file modes apply: the superuser's children become nobody's. Paths
/// must be relative, since that user may not have access to the folders above.
template <typename Action>
bool asOrdinaryUser(const std::string& folder, Action action) {
    return inAnotherProcess([&] {
        const uid_t nobody = 65534;
        const bool ready =
            chdir(folder.c_str()) == 0 && (geteuid() != 0 || (setgid(nobody) == 0 && setuid(nobody) == 0));
        return ready && action();
    });
}

/// The same as the same user, but with file modes applied, which the superuser otherwise bypasses.
template <typename Action>
bool boundByFileModes(Action action) {
    return inAnotherProcess([&] {
        WithoutPrivileges::forGood();
        return action();
    });
}
