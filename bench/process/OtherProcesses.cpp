#include "OtherProcesses.h"

#include <csignal>
#include <stdexcept>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

OtherProcesses::OtherProcesses(int64_t count) {
    for (int64_t i = 0; i < count; ++i) {
        const pid_t pid = fork();
        if (pid < 0)
            throw std::runtime_error("no room for so many processes");
        if (pid == 0) {
            prctl(PR_SET_PDEATHSIG, SIGKILL);
            for (;;)
                pause();
        }
        m_pids.push_back(pid);
    }
}

OtherProcesses::~OtherProcesses() {
    for (const pid_t pid : m_pids)
        kill(pid, SIGKILL);
    for (const pid_t pid : m_pids)
        waitpid(pid, nullptr, 0);
}
