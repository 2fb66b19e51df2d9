#pragma once

#include <sys/types.h>
#include <vector>

/// Processes that do nothing, as most of a desktop's do most of the time. They end with this object.
class OtherProcesses {
public:
    explicit OtherProcesses(int64_t count);
    ~OtherProcesses();
    OtherProcesses(const OtherProcesses&) = delete;
    OtherProcesses& operator=(const OtherProcesses&) = delete;

private:
    std::vector<pid_t> m_pids;
};
