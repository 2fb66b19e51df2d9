#include "ChildProcess.h"

#include "TemporaryFolder.h"
#include "TextFile.h"

#include <cstdio>
#include <cstdlib>
#include <sys/wait.h>
#include <unistd.h>

ChildResult runInChild(const std::function<void()>& action) {
    const TemporaryFolder folder;
    const std::string output = folder / "output";
    const std::string errors = folder / "errors";
    std::fflush(nullptr);
    const pid_t child = fork();
    if (child == 0) {
        if (std::freopen(output.c_str(), "w", stdout) == nullptr ||
            std::freopen(errors.c_str(), "w", stderr) == nullptr)
            _exit(127);
        // Unbuffered, because the action may end the process in any way.
        std::setvbuf(stdout, nullptr, _IONBF, 0);
        std::setvbuf(stderr, nullptr, _IONBF, 0);
        action();
        std::fflush(nullptr);
        _exit(0);
    }
    int status = 0;
    ChildResult result;
    if (child < 0 || waitpid(child, &status, 0) != child)
        return result;
    result.exitStatus = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    result.output = readFile(output);
    result.errors = readFile(errors);
    return result;
}
