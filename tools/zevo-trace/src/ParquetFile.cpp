#include "ParquetFile.h"

#include "FileSystemManagement.h"
#include "Tool.h"
#include "detail/FileDescriptor.h"

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <spawn.h>
#include <stdexcept>
#include <sys/wait.h>
#include <unistd.h>

extern char** environ; // NOLINT(readability-redundant-declaration): a Mac's headers leave it to the program

namespace Zevo {
namespace {

/// Beside this program, both in an installation and in the build folder.
std::string writerScript() {
    std::string script =
        FileSystemManagement::getCurrentExecutableDirectory() + ZEVO_FLEET_FROM_HERE "/fleet.mjs";
    if (access(script.c_str(), R_OK) != 0)
        throw std::runtime_error(
            script + " is missing: it writes Parquet, and belongs to this program's installation");
    return script;
}

[[noreturn]] void failToWrite(const std::string& path) {
    throw std::runtime_error(path + " is not written");
}

} // namespace

ParquetFile::ParquetFile(const std::string& path) : m_path(path), m_unfinishedPath(path + ".part") {
    if (access(path.c_str(), F_OK) == 0)
        throw UsageError(path + " is there already; give another file");
    std::string words[] = {"node", writerScript(), "parquet", m_unfinishedPath};
    char* const arguments[] = {words[0].data(), words[1].data(), words[2].data(), words[3].data(), nullptr};
    int ends[2];
    if (pipe(ends) != 0)
        throw std::runtime_error(std::string("cannot make a pipe: ") + std::strerror(errno));
    m_input = ends[1];
    fcntl(m_input, F_SETFD, FD_CLOEXEC); // or the writer would inherit it, and never see end of file
    std::signal(SIGPIPE, SIG_IGN);       // a writer that ends early is reported as an error
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, ends[0], STDIN_FILENO);
    posix_spawn_file_actions_addclose(&actions, ends[0]);
    const int failure = start(words[0].c_str(), actions, arguments);
    posix_spawn_file_actions_destroy(&actions);
    close(ends[0]);
    if (failure == 0)
        return;
    close(m_input);
    throw std::runtime_error(
        std::string("node cannot be started (") + std::strerror(failure) +
        "): Parquet is written by DuckDB, which needs Node.js; install nodejs and npm, then: "
        "npm install --global @duckdb/node-api");
}

int ParquetFile::start(const char* program, const posix_spawn_file_actions_t& actions,
                       char* const* arguments) {
    const HeldInterruptions held;
    posix_spawnattr_t attributes; // the writer must not inherit the blocked signals
    posix_spawnattr_init(&attributes);
    posix_spawnattr_setsigmask(&attributes, &held.before());
    posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGMASK);
    const int failure = posix_spawnp(&m_writer, program, &actions, &attributes, arguments, environ);
    posix_spawnattr_destroy(&attributes);
    if (failure == 0)
        m_unfinished.emplace(m_unfinishedPath, m_writer);
    return failure;
}

ParquetFile::~ParquetFile() {
    if (m_input >= 0)
        close(m_input);
    if (m_writer < 0)
        return;
    kill(m_writer, SIGKILL);
    waitForWriter();
}

int ParquetFile::waitForWriter() {
    // Its pid is not reused before the second wait.
    siginfo_t end;
    while (waitid(P_PID, static_cast<id_t>(m_writer), &end, WEXITED | WNOWAIT) < 0 && errno == EINTR) {
    }
    m_unfinished->hasNoWriter();
    int status = 0;
    while (waitpid(m_writer, &status, 0) < 0 && errno == EINTR) {
    }
    m_writer = -1;
    return status;
}

void ParquetFile::write(std::string_view jsonLines) {
    if (kf::detail::writeFully(m_input, jsonLines) == jsonLines.size())
        return;
    waitForWriter(); // its own messages come first
    failToWrite(m_path);
}

void ParquetFile::finish() {
    close(m_input);
    m_input = -1;
    const int status = waitForWriter();
    if (status != 0 || std::rename(m_unfinishedPath.c_str(), m_path.c_str()) != 0)
        failToWrite(m_path);
    m_unfinished->keep();
}

} // namespace Zevo
