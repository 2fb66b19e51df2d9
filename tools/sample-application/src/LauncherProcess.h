#pragma once

#include "Waiting.h"

#include <string>
#include <sys/types.h>
#include <vector>

namespace Zevo {

class SampleMachine;

/// The real launcher, started on a sample machine. Its standard output and standard error go to files of the
/// machine. Environment entries, "NAME=value", are added to this process's own, which a virtual bus has
/// prepared. It runs in a process group of its own, so that Ctrl-C at the terminal does not reach it, and
/// does not outlive its parent. Throws std::runtime_error if the program cannot be started.
class LauncherProcess {
public:
    explicit LauncherProcess(const SampleMachine& machine, const std::vector<std::string>& environment = {});
    ~LauncherProcess();
    LauncherProcess(const LauncherProcess&) = delete;
    LauncherProcess& operator=(const LauncherProcess&) = delete;

    pid_t pid() const { return m_pid; }
    bool isRunning();

    void sendSignal(int number) const;

    /// Waits for the end; false at the deadline.
    bool waitForEnd(std::chrono::milliseconds longest = LONGEST_WAIT);

    /// After the end. -1 before it, and if a signal ended the process.
    int exitStatus() const;

    /// After the end: the signal that ended the process, 0 if none did.
    int endingSignal() const;

    std::string standardError() const;
    std::string standardOutput() const;

private:
    pid_t m_pid = -1;
    bool m_ended = false;
    int m_status = 0;
    std::string m_errorPath;
    std::string m_outputPath;
};

} // namespace Zevo
