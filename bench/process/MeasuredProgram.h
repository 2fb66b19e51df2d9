#pragma once

#include "mark.h"

#include <string>
#include <sys/types.h>
#include <vector>

/// The pipe that marks come through.
class MarkPipe {
public:
    explicit MarkPipe(const std::string& path);
    ~MarkPipe();
    MarkPipe(const MarkPipe&) = delete;
    MarkPipe& operator=(const MarkPipe&) = delete;

    const std::string& path() const { return m_path; }
    /// Waits for the next mark of this kind made at or after `earliest`; others are dropped. Returns its
    /// time; ends the process when none comes for too long: a measurement of something that does not happen.
    int64_t await(MarkKind kind, int64_t earliest);

private:
    std::string m_path;
    int m_file;
    std::vector<Mark> m_unasked;
};

/// The bus that a program sees. The virtual one costs each program the loading of its library.
enum class Bus { ofThisMachine, virtualOne };

/// A program that tells when it waits for events. Killed at the end. Its operations throw
/// std::runtime_error.
class MeasuredProgram {
public:
    /// `command`: the program's path and its arguments. `environment`: added to this process's own.
    MeasuredProgram(const std::vector<std::string>& command, std::vector<std::string> environment,
                    MarkPipe& marks, Bus bus);
    ~MeasuredProgram();
    MeasuredProgram(const MeasuredProgram&) = delete;
    MeasuredProgram& operator=(const MeasuredProgram&) = delete;

    /// Just before it was started.
    int64_t startTime() const { return m_startTime; }
    /// When it was armed.
    int64_t armedTime() const { return m_armedTime; }
    /// Nanoseconds, all threads, until now.
    int64_t cpuTime() const;
    long residentBytes() const;
    /// How often its threads have gone to sleep by themselves; each time, something had woken them before.
    long sleeps() const;

private:
    pid_t m_pid = -1;
    int64_t m_startTime = 0;
    int64_t m_armedTime = 0;
};
