#pragma once

#include <sys/types.h>
#include <vector>

/// Processes that sleep, as most processes of a desktop do most of the time. The destructor ends them.
class OtherProcesses {
public:
    explicit OtherProcesses(int64_t count);
    ~OtherProcesses();
    OtherProcesses(const OtherProcesses&) = delete;
    OtherProcesses& operator=(const OtherProcesses&) = delete;

private:
    std::vector<pid_t> m_pids;
};
