#include "MeasuredProgram.h"

#include "SampleMachine.h"
#include "Waiting.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <dirent.h>
#include <memory>
#include <poll.h>
#include <spawn.h>
#include <stdexcept>
#include <sys/stat.h>
#include <sys/wait.h>

namespace {

std::vector<char*> pointersTo(std::vector<std::string>& texts) {
    std::vector<char*> result;
    for (std::string& text : texts)
        result.push_back(text.data());
    result.push_back(nullptr);
    return result;
}

/// The number after `title` in a file such as /proc/<pid>/status; 0 if the title is missing.
long statusNumber(const std::string& path, const char* title) {
    const std::string status = Zevo::readTextFile(path);
    const std::string::size_type at = status.find(title);
    return at == std::string::npos ? 0 : std::atol(status.c_str() + at + std::strlen(title));
}

} // namespace

MarkPipe::MarkPipe(const std::string& path) : m_path(path) {
    if (mkfifo(path.c_str(), 0600) != 0)
        throw std::runtime_error("cannot make the pipe " + path);
    m_file = open(path.c_str(), O_RDWR | O_CLOEXEC);
}

MarkPipe::~MarkPipe() {
    close(m_file);
    unlink(m_path.c_str());
}

int64_t MarkPipe::await(MarkKind kind, int64_t earliest) {
    const int longest = static_cast<int>(std::chrono::milliseconds(Zevo::LONGEST_WAIT).count());
    const auto isAwaited = [&](const Mark& mark) {
        return mark.kind == kind && mark.nanoseconds >= earliest;
    };
    for (;;) {
        const auto found = std::find_if(m_unasked.begin(), m_unasked.end(), isAwaited);
        if (found != m_unasked.end()) {
            const int64_t time = found->nanoseconds;
            m_unasked.erase(found);
            return time;
        }
        pollfd file = {m_file, POLLIN, 0};
        Mark mark = {};
        if (poll(&file, 1, longest) <= 0 || read(m_file, &mark, sizeof mark) != sizeof mark)
            throw std::runtime_error("nothing of kind " + std::to_string(kind) + " happens");
        m_unasked.push_back(mark);
    }
}

MeasuredProgram::MeasuredProgram(const std::vector<std::string>& command,
                                 std::vector<std::string> environment, MarkPipe& marks, Bus bus) {
    environment.push_back(MARK_PIPE_VARIABLE "=" + marks.path());
    std::string preloaded = "LD_PRELOAD=" ZEVO_WAITS_PRELOAD;
    for (char** entry = environ; *entry != nullptr; ++entry) {
        const std::string text = *entry;
        if (text.rfind("LD_PRELOAD=", 0) != 0)
            environment.push_back(text);
        else if (bus == Bus::virtualOne)
            preloaded += ":" + text.substr(sizeof "LD_PRELOAD");
    }
    environment.push_back(preloaded);
    std::vector<std::string> words = command;
    posix_spawn_file_actions_t files;
    posix_spawn_file_actions_init(&files);
    posix_spawn_file_actions_addopen(&files, 0, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_addopen(&files, 1, "/dev/null", O_WRONLY, 0);
    const std::vector<char*> arguments = pointersTo(words);
    const std::vector<char*> variables = pointersTo(environment);
    m_startTime = markClock();
    const int error = posix_spawn(&m_pid, arguments[0], &files, nullptr, arguments.data(), variables.data());
    posix_spawn_file_actions_destroy(&files);
    if (error != 0)
        throw std::runtime_error("cannot start " + command.front() + ": " + std::strerror(error));
    m_armedTime = marks.await(MARK_WAITS, m_startTime);
}

MeasuredProgram::~MeasuredProgram() {
    kill(m_pid, SIGKILL);
    waitpid(m_pid, nullptr, 0);
}

int64_t MeasuredProgram::cpuTime() const {
    clockid_t clock;
    timespec time = {};
    if (clock_getcpuclockid(m_pid, &clock) != 0 || clock_gettime(clock, &time) != 0)
        throw std::runtime_error("a program has ended by itself");
    return static_cast<int64_t>(time.tv_sec) * 1000000000 + time.tv_nsec;
}

long MeasuredProgram::residentBytes() const {
    return 1024 * statusNumber("/proc/" + std::to_string(m_pid) + "/status", "VmRSS:");
}

long MeasuredProgram::sleeps() const {
    const std::string threads = "/proc/" + std::to_string(m_pid) + "/task";
    const std::unique_ptr<DIR, int (*)(DIR*)> listing(opendir(threads.c_str()), &closedir);
    long result = 0;
    while (const dirent* entry = listing ? readdir(listing.get()) : nullptr)
        if (entry->d_name[0] != '.')
            result += statusNumber(threads + "/" + entry->d_name + "/status", "\nvoluntary_ctxt_switches:");
    return result;
}
