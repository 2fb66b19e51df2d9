#pragma once

#include "mark.h"

#include <string>
#include <sys/types.h>
#include <vector>

/// The named pipe through which marks arrive.
class MarkPipe {
public:
    explicit MarkPipe(const std::string& path);
    ~MarkPipe();
    MarkPipe(const MarkPipe&) = delete;
    MarkPipe& operator=(const MarkPipe&) = delete;

    const std::string& path() const { return m_path; }
    /// Waits for the next mark of this kind made at or after `earliest`, removes it and returns its time.
    /// Other marks are kept for later calls. Throws std::runtime_error if no mark arrives for LONGEST_WAIT:
    /// the event to be measured does not happen.
    int64_t await(MarkKind kind, int64_t earliest);

private:
    std::string m_path;
    int m_file;
    std::vector<Mark> m_unasked;
};

/// The bus that a program sees. With the virtual one, each program must load one more library.
enum class Bus { ofThisMachine, virtualOne };

/// A running program with the preloaded probe that sends a mark when it waits for events. The destructor
/// kills it. Its operations throw std::runtime_error.
class MeasuredProgram {
public:
    /// Starts the program and waits until it is armed. `command`: its path and arguments. `environment`:
    /// added to this process's own.
    MeasuredProgram(const std::vector<std::string>& command, std::vector<std::string> environment,
                    MarkPipe& marks, Bus bus);
    ~MeasuredProgram();
    MeasuredProgram(const MeasuredProgram&) = delete;
    MeasuredProgram& operator=(const MeasuredProgram&) = delete;

    /// Just before it was started.
    int64_t startTime() const { return m_startTime; }
    /// When it was armed.
    int64_t armedTime() const { return m_armedTime; }
    /// Nanoseconds of processor time that all its threads have used until now.
    int64_t cpuTime() const;
    long residentBytes() const;
    /// How often its threads have gone to sleep voluntarily. The difference of two values counts the wake-ups
    /// between them.
    long sleeps() const;

private:
    pid_t m_pid = -1;
    int64_t m_startTime = 0;
    int64_t m_armedTime = 0;
};
