#pragma once

#include <MacTypes.h>
#include <string>
#include <sys/types.h>
#include <vector>

// What /proc tells about a process. Any thread.
//
// A function that returns an int returns an errno as readBeginning() does (FileBeginning.h). Such an error
// says nothing about the process.

namespace LinuxPlatform {

/// What everybody may read about every process: its status line.
struct ProcessStatus {
    std::string name;     // of the file that it runs, cut to 15 bytes, unless the process has set another one
    char state = '\0';    // a letter
    UInt64 startTime = 0; // in clock ticks since boot; 0: no such process, or it is hidden

    bool hasEnded() const { return state == 'Z' || state == 'X'; }
};

/// The note that Launch Services leaves in the environment of what it starts. Children inherit it; the
/// process id in it tells them apart.
struct LaunchNote {
    pid_t pid = 0;
    std::string bundle;
};

/// The name of that variable, and the width of the process id in its value. The width is fixed, so that the
/// id can be filled in where no memory can be allocated.
extern const char LAUNCHED_VARIABLE[]; // "PLATFORM_LAUNCHED="
const int LAUNCHED_PID_WIDTH = 10;

/// /proc, or the folder that tests read instead.
const std::string& processesFolder();
/// For tests. Thread: any, while no other one reads.
void setProcessesFolder(const std::string& path);

class ProcessFolder {
public:
    explicit ProcessFolder(pid_t pid);

    int readStatus(ProcessStatus& status) const;
    int readLaunchNote(LaunchNote& note) const;
    /// The first `most` words of the command line.
    int readArguments(std::size_t most, std::vector<std::string>& arguments) const;
    /// The user who started it, also for a set-user-id program, where neither the owner of the folder nor the
    /// effective user is that one.
    int readUser(uid_t& user) const;
    /// The file that it runs. Empty, with errno EACCES, if this user may not read the link; also empty for a
    /// kernel thread and for a process that has ended.
    std::string executable() const;

private:
    std::string file(const char* name) const { return m_path + name; }

    const std::string m_path; // with a separator at the end
};

} // namespace LinuxPlatform
