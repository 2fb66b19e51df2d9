#include "LauncherProcess.h"

#include "SampleMachine.h"

#include <cerrno>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <stdexcept>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace Zevo {
namespace {

void redirect(const char* path, int flags, int descriptor) {
    const int file = open(path, flags, 0666);
    if (file < 0 || dup2(file, descriptor) < 0)
        _exit(127);
    close(file);
}

/// They point into the texts, and are valid as long as those.
std::vector<const char*> pointersTo(const std::vector<std::string>& texts) {
    std::vector<const char*> result;
    for (const std::string& text : texts)
        result.push_back(text.c_str());
    result.push_back(nullptr);
    return result;
}

std::vector<std::string> mergedEnvironment(const std::vector<std::string>& added) {
    std::vector<std::string> result = added;
    for (char** entry = environ; *entry; ++entry) {
        const std::string text = *entry;
        const std::string name = text.substr(0, text.find('=') + 1);
        bool isReplaced = false;
        for (const std::string& other : added)
            isReplaced = isReplaced || other.compare(0, name.size(), name) == 0;
        if (!isReplaced)
            result.push_back(text);
    }
    return result;
}

} // namespace

LauncherProcess::LauncherProcess(const SampleMachine& machine, const std::vector<std::string>& environment)
    : m_errorPath(machine.errorFile()), m_outputPath(machine.outputFile()) {
    std::vector<std::string> entries = machine.environment();
    entries.insert(entries.end(), environment.begin(), environment.end());
    entries = mergedEnvironment(entries);
    const std::string program = machine.launcherProgram();
    const std::vector<std::string> words = {program};
    const std::vector<const char*> arguments = pointersTo(words);
    const std::vector<const char*> variables = pointersTo(entries);
    m_pid = fork();
    if (m_pid < 0)
        throw std::runtime_error(std::string("cannot start the launcher: ") + std::strerror(errno));
    if (m_pid > 0)
        return;
    setpgid(0, 0);
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    sigset_t none;
    sigemptyset(&none);
    sigprocmask(SIG_SETMASK, &none, nullptr);
    redirect("/dev/null", O_RDONLY, 0);
    redirect(m_outputPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 1);
    redirect(m_errorPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 2);
    execve(program.c_str(), const_cast<char**>(arguments.data()), const_cast<char**>(variables.data()));
    _exit(127);
}

LauncherProcess::~LauncherProcess() {
    if (!isRunning())
        return;
    sendSignal(SIGKILL);
    waitForEnd();
}

bool LauncherProcess::isRunning() {
    if (!m_ended && waitpid(m_pid, &m_status, WNOHANG) == m_pid)
        m_ended = true;
    return !m_ended;
}

void LauncherProcess::sendSignal(int number) const {
    kill(m_pid, number);
}

bool LauncherProcess::waitForEnd(std::chrono::milliseconds longest) {
    return waitUntil([this] { return !isRunning(); }, longest);
}

int LauncherProcess::exitStatus() const {
    return m_ended && WIFEXITED(m_status) ? WEXITSTATUS(m_status) : -1;
}

int LauncherProcess::endingSignal() const {
    return m_ended && WIFSIGNALED(m_status) ? WTERMSIG(m_status) : 0;
}

std::string LauncherProcess::standardError() const {
    return readTextFile(m_errorPath);
}

std::string LauncherProcess::standardOutput() const {
    return readTextFile(m_outputPath);
}

} // namespace Zevo
