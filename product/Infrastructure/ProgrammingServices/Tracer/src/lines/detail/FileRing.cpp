#include "detail/FileRing.h"

#include "FileSystemManagement.h"

#include <algorithm>
#include <array>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/uio.h>

namespace kf::detail {

namespace {

// "_", an index, ".txt"
constexpr std::size_t LONGEST_SUFFIX = 1 + 11 + 4;

const char* suffixOf(std::int32_t index, char (&suffix)[LONGEST_SUFFIX + 1]) {
    std::snprintf(suffix, sizeof suffix, "_%d.txt", static_cast<int>(index));
    return suffix;
}

/// Whether the owner is this user or the superuser.
bool isTrusted(uid_t owner) {
    return owner == geteuid() || owner == 0;
}

/// Whether other users can create entries in this file's folder, such as a link to one of this user's files.
bool mayOthersPutFilesBeside(const char* path) {
    char folder[PATH_MAX] = ".";
    if (const char* slash = std::strrchr(path, '/')) {
        const std::size_t length =
            std::min<std::size_t>(sizeof folder - 1, static_cast<std::size_t>(slash - path) + 1);
        std::memcpy(folder, path, length);
        folder[length] = '\0';
    }
    struct stat info;
    if (stat(folder, &info) != 0)
        return true;
    return (info.st_mode & (S_IWGRP | S_IWOTH)) != 0 || !isTrusted(info.st_uid);
}

/// Opens a regular file and nothing else: opening a pipe or a device could block for ever. If other users may
/// write the folder, as they may in the log folders that the framework creates, no link is followed and none
/// of their files is opened. Otherwise they could make this process write, with this user's rights, to a file
/// of their choice.
///
/// The descriptor is close-on-exec, so that applications launched meanwhile do not inherit it.
/// Async-signal-safe.
/// @param isRefused  set: whether there is something that the ring must not write to
FileDescriptor openRegularFile(const char* path, int flags, bool& isRefused) {
    flags |= O_NONBLOCK | O_NOCTTY | O_CLOEXEC;
    isRefused = false;
    FileDescriptor file(::open(path, flags | O_NOFOLLOW, 0666));
    if (!file.isOpen() && errno == ELOOP) {
        isRefused = mayOthersPutFilesBeside(path);
        if (!isRefused)
            file = FileDescriptor(::open(path, flags, 0666));
    }
    if (!file.isOpen()) {
        isRefused = isRefused || errno == ENXIO; // a pipe without a reader, or a socket
        return file;
    }
    struct stat info;
    isRefused = fstat(file.get(), &info) != 0 || !S_ISREG(info.st_mode) ||
                ((!isTrusted(info.st_uid) || info.st_nlink > 1) && mayOthersPutFilesBeside(path));
    return isRefused ? FileDescriptor() : std::move(file);
}

} // namespace

bool FileRing::setBaseName(const std::string& name) {
    m_currentFileName.clear();
    m_output = name == "console" ? Output::Console : name == "msvc" ? Output::Nowhere : Output::File;
    if (m_output != Output::File) {
        m_baseFileName = name;
        m_currentFileName = name;
        return false;
    }
    if (name.find_first_of("/\\") != std::string::npos)
        m_baseFileName = name;
    else if (!m_folderName.empty())
        m_baseFileName = m_folderName + name;
    else
        m_baseFileName = FileSystemManagement::getCurrentOutputDirectory() + name;
    m_currentFileName.reserve(m_baseFileName.size() + LONGEST_SUFFIX);
    m_work.notify();
    return true;
}

std::string FileRing::fileName(std::int32_t index) const {
    char suffix[LONGEST_SUFFIX + 1];
    return m_baseFileName + suffixOf(index, suffix);
}

void FileRing::nameCurrentFile() {
    if (m_fileIndex >= m_maximumFiles)
        m_fileIndex = 0;
    char suffix[LONGEST_SUFFIX + 1];
    m_currentFileName.assign(m_baseFileName).append(suffixOf(m_fileIndex, suffix));
    m_queue.restoreFrontLine(); // part of it is in an earlier file: write all of it to this one
}

void FileRing::beginAnew() {
    m_fileIndex = 0;
    m_lineCount = 0;
    m_truncateOnNextOpen = true;
    nameCurrentFile();
}

void FileRing::continueFile(std::int32_t index) {
    m_fileIndex = index;
    m_lineCount = 0;
    m_truncateOnNextOpen = false; // also if an earlier base name had set it
    nameCurrentFile();

    const FileDescriptor file = open(O_RDONLY);
    if (!file.isOpen())
        return;
    std::array<char, 16384> buffer;
    std::int64_t lines = 0;
    bool atLineBegin = true;
    std::string_view text;
    do {
        text = {buffer.data(), readFully(file.get(), buffer.data(), buffer.size())};
        lines += std::count(text.begin(), text.end(), '\n');
        if (!text.empty())
            atLineBegin = text.back() == '\n';
    } while (text.size() == buffer.size());
    if (!atLineBegin)
        ++lines;
    m_lineCount = static_cast<std::int32_t>(std::min<std::int64_t>(lines, INT32_MAX));
}

int FileRing::findLastUsedFile() const {
    if (m_maximumFiles < 0)
        return -2;
    long previousDate = 0;
    long previousTime = 0;
    for (std::int32_t n = 0;; ++n) {
        const std::string name = fileName(n);
        if (!FileSystemManagement::existFile(name))
            return n - 1;
        std::string dateText;
        std::string timeText;
        retrieveModificationInfo(name, dateText, timeText);
        const long date = std::strtol(dateText.c_str(), nullptr, 10);
        const long time = std::strtol(timeText.c_str(), nullptr, 10);
        // DELIBERATE: an existing file beyond the ring's maximum also ends the walk, whatever its age.
        if (n >= m_maximumFiles)
            return n - 1;
        // DELIBERATE: date and time of day are compared separately, not as one time stamp, so a file of a
        // later day but an earlier hour ends the walk.
        if (date < previousDate || time < previousTime)
            return n - 1;
        previousDate = date;
        previousTime = time;
    }
}

void FileRing::retrieveModificationInfo(const std::string& fileName, std::string& date, std::string& time) {
    date.clear();
    time.clear();
    struct stat info;
    if (stat(fileName.c_str(), &info) != 0)
        return;
    std::tm local;
    const std::time_t modified = info.st_mtime;
    if (localtime_r(&modified, &local) == nullptr)
        return;
    char text[64];
    std::snprintf(text, sizeof text, "%d%.2d%.2d", local.tm_year + 1900, local.tm_mon + 1, local.tm_mday);
    date = text;
    std::snprintf(text, sizeof text, "%.2d%.2d%.2d", local.tm_hour, local.tm_min, local.tm_sec);
    time = text;
}

bool FileRing::put(std::string_view line) {
    if (m_output == Output::Nowhere)
        return false;
    if (m_output == Output::Console) {
        putOnConsole(line);
        return false;
    }
    m_queue.push(line);
    return true;
}

void FileRing::putOnConsole(std::string_view line) {
    // DELIBERATE: the line already ends in "\n", so an empty line follows it.
    std::fwrite(line.data(), 1, line.size(), stdout);
    std::fputc('\n', stdout);
    std::fflush(stdout);
}

FileRing::Drain FileRing::drain() {
    if (m_output != Output::File)
        return Drain::Done;
    m_isDraining.store(true, std::memory_order_relaxed);
    const Drain outcome = drainToFile();
    m_isDraining.store(false, std::memory_order_release);
    m_hasFailed = outcome != Drain::Done;
    if (!m_isReporting && needsDrain())
        m_work.notify();
    return outcome;
}

bool FileRing::needsDrain() const {
    return m_output == Output::File &&
           (!m_queue.empty() || m_truncateOnNextOpen || m_hasFailed || m_queue.hasSpareMemory());
}

FileRing::Drain FileRing::drainToFile() {
    FileDescriptor file = openCurrentFile();
    if (!file.isOpen())
        return Drain::CannotOpen;
    // Only the lines that wait now: including those that are queued meanwhile, the drain might never end.
    for (std::size_t lines = m_queue.size(); lines > 0;) {
        if (!writeLines(file.get(), lines)) {
            file = m_isReporting && errno == EFBIG ? openEmptyNextFile() : FileDescriptor();
            if (!file.isOpen())
                return Drain::Interrupted;
            continue;
        }
        if (m_lineCount >= m_maximumLinesPerFile) {
            file = FileDescriptor();
            file = openNextFile();
            if (!file.isOpen())
                return Drain::Interrupted;
        }
    }
    if (!m_isReporting)
        m_queue.trim();
    return Drain::Done;
}

void FileRing::beginReport() {
    m_isReporting = true;
    m_queue.limitWaits();
    drain();
    if (m_lineCount > 0)
        m_truncateOnNextOpen = false;
}

void FileRing::writeNow(std::string_view line) {
    if (m_output == Output::Nowhere)
        return;
    if (m_output == Output::Console) {
        // Bypass stdio: the crash may have left its lock taken.
        writeFully(STDOUT_FILENO, line);
        writeFully(STDOUT_FILENO, "\n");
        return;
    }
    FileDescriptor file = openCurrentFile();
    if (!file.isOpen())
        return;
    if (writeFully(file.get(), line) < line.size() && errno == EFBIG) {
        file = openEmptyNextFile();
        if (!file.isOpen())
            return;
        writeFully(file.get(), line);
    }
    if (++m_lineCount >= m_maximumLinesPerFile)
        openNextFile();
}

// Writes the next lines with one call: at most `lines`, at most what still fits into the file (but at least
// one), and at most one chunk of the queue. Subtracts the number of removed lines from `lines`. Lines leave
// the queue only once they are written, so a full disk loses none.
bool FileRing::writeLines(int file, std::size_t& lines) {
    const std::int32_t room = m_lineCount < m_maximumLinesPerFile ? m_maximumLinesPerFile - m_lineCount : 1;
    const std::size_t wanted = std::min(lines, static_cast<std::size_t>(room));
    const std::string_view text = m_queue.front(wanted);
    const std::size_t written = writeFully(file, text);
    const std::uint64_t before = m_queue.removedCount();
    m_lineCount += static_cast<std::int32_t>(m_queue.consume(written, wanted));
    // Cancelled slots of later lines may have been removed, too.
    lines -= std::min(lines, static_cast<std::size_t>(m_queue.removedCount() - before));
    return written == text.size();
}

FileDescriptor FileRing::openCurrentFile() {
    const bool truncate = m_truncateOnNextOpen;
    m_truncateOnNextOpen = false;
    FileDescriptor file = open(truncate ? O_RDWR | O_CREAT : O_WRONLY | O_CREAT | O_APPEND);
    // Not with O_TRUNC: that would empty a file before open() has refused it.
    if (file.isOpen() && truncate && ftruncate(file.get(), 0) == 0)
        m_queue.restoreFrontLine(); // its first part was in the file
    return file;
}

FileDescriptor FileRing::openNextFile() {
    ++m_fileIndex;
    nameCurrentFile();
    m_truncateOnNextOpen = true;
    m_lineCount = 0;
    return open(O_WRONLY | O_CREAT | O_APPEND);
}

// For a report, when the file has reached the size limit (RLIMIT_FSIZE). That limit is usually what the crash
// is about: signal 25. Returns an empty owner if the current file has no lines, since the next one could hold
// no more.
FileDescriptor FileRing::openEmptyNextFile() {
    if (m_lineCount == 0)
        return FileDescriptor();
    FileDescriptor file = openNextFile();
    if (file.isOpen() && ftruncate(file.get(), 0) == 0)
        m_truncateOnNextOpen = false;
    return file;
}

FileDescriptor FileRing::open(int flags) {
    bool isRefused = false;
    FileDescriptor file = openRegularFile(m_currentFileName.c_str(), flags, isRefused);
    // A refused file usually stays, and then every drain fails: report it once.
    const bool isReportDue = !isRefused || !m_hasReportedRefusal;
    if (!file.isOpen() && (flags & O_CREAT) != 0) {
        m_hasReportedRefusal = isRefused;
        if (isReportDue)
            reportCannotOpen();
    }
    if (file.isOpen())
        m_hasReportedRefusal = false;
    return file;
}

void FileRing::reportCannotOpen() const {
    const auto piece = [](const char* text) { return iovec{const_cast<char*>(text), std::strlen(text)}; };
    const iovec message[] = {piece(m_owner), piece(" : can't open "), piece(m_currentFileName.c_str()),
                             piece("\n")};
    // One call that bypasses stdio: messages of two processes do not mix, and no lock is needed.
    if (writev(STDERR_FILENO, message, sizeof message / sizeof message[0]) < 0)
        return; // there is nowhere left to report it
}

} // namespace kf::detail
