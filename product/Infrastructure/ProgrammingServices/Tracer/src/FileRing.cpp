#include "FileRing.h"

#include "FileSystemManagement.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <ctime>
#include <fcntl.h>
#include <sys/stat.h>

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
    return true;
}

std::string FileRing::fileName(std::int32_t index) const {
    return m_baseFileName + "_" + std::to_string(index) + ".txt";
}

void FileRing::nameCurrentFile() {
    if (m_fileIndex >= m_maximumFiles)
        m_fileIndex = 0;
    m_currentFileName = fileName(m_fileIndex);
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
    m_truncateOnNextOpen = false; // also when another name had begun a new file, not written to yet
    nameCurrentFile();

    const OpenFile file(std::fopen(m_currentFileName.c_str(), "r"));
    if (file == nullptr)
        return;
    std::array<char, 65536> buffer;
    std::int64_t lines = 0;
    bool atLineBegin = true;
    while (const std::size_t read = std::fread(buffer.data(), 1, buffer.size(), file.get())) {
        lines += std::count(buffer.begin(), buffer.begin() + read, '\n');
        atLineBegin = buffer[read - 1] == '\n';
    }
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
        // DELIBERATE: a file that exists beyond the ring ends the walk too, before its age is looked at.
        if (n >= m_maximumFiles)
            return n - 1;
        // DELIBERATE: date and time are compared separately, not as one time stamp, so a file of a later day
        // but an earlier hour ends the walk.
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
        // DELIBERATE: the line has its own end already, so an empty line follows it.
        std::fwrite(line.data(), 1, line.size(), stdout);
        std::fputc('\n', stdout);
        std::fflush(stdout);
        return false;
    }
    m_queue.push(line);
    return true;
}

FileRing::Drain FileRing::drain() {
    if (m_output != Output::File)
        return Drain::Done;
    const bool truncate = m_truncateOnNextOpen;
    m_truncateOnNextOpen = false;
    OpenFile file = open(truncate ? "w+" : "a");
    if (file == nullptr)
        return Drain::CannotOpen;
    // Those that come meanwhile are for the next drain: it could go on for ever.
    for (std::size_t lines = m_queue.size(); lines > 0;) {
        if (!writeLines(file.get(), lines))
            return Drain::Interrupted;
        if (m_lineCount >= m_maximumLinesPerFile) {
            file.reset();
            file = openNextFile();
            if (file == nullptr)
                return Drain::Interrupted;
        }
    }
    m_queue.trim();
    return Drain::Done;
}

// Writes what fits into this file of so many lines, at least one, a chunk of the queue with each system call.
// Lines leave the queue only as far as they were written, so that a full disk loses none.
bool FileRing::writeLines(std::FILE* file, std::size_t& lines) {
    const std::int32_t room = m_lineCount < m_maximumLinesPerFile ? m_maximumLinesPerFile - m_lineCount : 1;
    const std::string_view text = m_queue.front(std::min(lines, static_cast<std::size_t>(room)));
    const std::size_t written = std::fwrite(text.data(), 1, text.size(), file);
    const std::uint64_t left = m_queue.left();
    m_lineCount += static_cast<std::int32_t>(m_queue.consume(written));
    lines -= std::min(lines, static_cast<std::size_t>(m_queue.left() - left)); // some may have come meanwhile
    return written == text.size();
}

FileRing::OpenFile FileRing::openNextFile() {
    ++m_fileIndex;
    nameCurrentFile();
    m_truncateOnNextOpen = true;
    m_lineCount = 0;
    return open("a");
}

FileRing::OpenFile FileRing::open(const char* mode) const {
    OpenFile file(std::fopen(m_currentFileName.c_str(), mode));
    if (file == nullptr) {
        std::fprintf(stderr, "%s : can't open %s\n", m_owner, m_currentFileName.c_str());
        return nullptr;
    }
    std::setvbuf(file.get(), nullptr, _IONBF, 0);
    // An application launched meanwhile must not inherit the file.
    fcntl(fileno(file.get()), F_SETFD, FD_CLOEXEC);
    return file;
}
