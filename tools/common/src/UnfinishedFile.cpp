#include "UnfinishedFile.h"

#include <atomic>
#include <cerrno>
#include <sys/wait.h>
#include <unistd.h>

namespace Zevo {
namespace {

constexpr int INTERRUPTIONS[] = {SIGINT, SIGTERM, SIGHUP};

// All data that the signal handler reads.
std::atomic<const char*> unfinishedPath{nullptr};
std::atomic<pid_t> writerOfIt{0};
static_assert(std::atomic<const char*>::is_always_lock_free && std::atomic<pid_t>::is_always_lock_free);

extern "C" void removeAndEnd(int signal) {
    const pid_t writer = writerOfIt;
    if (writer > 0 && kill(writer, SIGKILL) == 0) {
        while (waitpid(writer, nullptr, 0) < 0 && errno == EINTR) {
        }
    }
    const char* const path = unfinishedPath;
    if (path != nullptr)
        unlink(path);
    // The exit status must tell the parent how this program ended.
    std::signal(signal, SIG_DFL);
    raise(signal);
}

void handleUnlessIgnored(int signal) {
    struct sigaction before = {};
    sigaction(signal, nullptr, &before);
    if (before.sa_handler == SIG_IGN) // ignored, by nohup for instance
        return;
    struct sigaction action = {};
    action.sa_handler = &removeAndEnd;
    action.sa_flags = SA_RESTART;
    for (const int other : INTERRUPTIONS)
        sigaddset(&action.sa_mask, other);
    sigaction(signal, &action, nullptr);
}

} // namespace

UnfinishedFile::UnfinishedFile(std::string path, pid_t writer) : m_path(std::move(path)) {
    writerOfIt = writer;
    unfinishedPath = m_path.c_str();
    for (const int signal : INTERRUPTIONS)
        handleUnlessIgnored(signal);
}

UnfinishedFile::~UnfinishedFile() {
    hasNoWriter();
    if (m_isKept)
        return;
    unlink(m_path.c_str());
    unfinishedPath = nullptr;
}

void UnfinishedFile::hasNoWriter() {
    writerOfIt = 0;
}

void UnfinishedFile::keep() {
    unfinishedPath = nullptr;
    m_isKept = true;
}

HeldInterruptions::HeldInterruptions() {
    sigset_t signals;
    sigemptyset(&signals);
    for (const int signal : INTERRUPTIONS)
        sigaddset(&signals, signal);
    sigprocmask(SIG_BLOCK, &signals, &m_before);
}

HeldInterruptions::~HeldInterruptions() {
    sigprocmask(SIG_SETMASK, &m_before, nullptr);
}

} // namespace Zevo
