#include "LoggerModel.h"

#include <algorithm>
#include <ctime>
#include <string>
#include <sys/stat.h>

namespace model {
namespace {

std::string tag(unsigned level) {
    switch (level) {
    case 1:
        return "[DEBUG  ] ";
    case 2:
        return "[ERROR  ] ";
    case 4:
        return "[WARNING] ";
    case 8:
        return "[LEVEL_0] ";
    case 16:
        return "[LEVEL_1] ";
    case 32:
        return "[LEVEL_2] ";
    case 64:
        return "[LEVEL_3] ";
    case 128:
        return "[LEVEL_4] ";
    case 256:
        return "[LEVEL_5] ";
    default:
        return "";
    }
}

/// The day and the time of the day of a file's last change, each as a number that can be compared.
struct ModificationTime {
    int day = 0;
    int time = 0;
};

ModificationTime modificationTime(const std::string& path) {
    struct stat status = {};
    stat(path.c_str(), &status);
    std::tm local = {};
    localtime_r(&status.st_mtime, &local);
    return {((local.tm_year + 1900) * 100 + local.tm_mon + 1) * 100 + local.tm_mday,
            (local.tm_hour * 100 + local.tm_min) * 100 + local.tm_sec};
}

/// What successive reads of a line meet; a last line needs no line feed.
int lineCountOf(const std::string& content) {
    const auto feeds = std::count(content.begin(), content.end(), '\n');
    return static_cast<int>(feeds) + (content.empty() || content.back() == '\n' ? 0 : 1);
}

} // namespace

void Logger::configure(const std::string& text) {
    for (const Statement& statement : statementsOf(text)) {
        const std::string& keyword = statement[0];
        if (keyword == "log_on")
            m_isEnabled = true;
        else if (keyword == "log_off")
            m_isEnabled = false;
        else if (keyword == "log_clock")
            m_printsTime = true;
        else if (keyword == "log_must_flush")
            m_directWrite = true;
        else if (keyword == "log_set_file_name")
            setFileName(statement[1]);
        else if (keyword == "log_set_max_lines")
            ring.maximumLines = numberOf(statement[1]);
        else if (keyword == "log_set_max_files")
            ring.maximumFiles = numberOf(statement[1]);
        else if (keyword == "log_set_msg_filter") {
            for (const std::string& word : statement)
                m_levelMask |= levelBit("log_", word);
        }
    }
}

void Logger::setFileName(const std::string& name) {
    ring.base = LineRing::isNowhere(name) ? name : ring.folder + name;
    ring.current = name;
    if (LineRing::isNowhere(name))
        return;
    const int last = findLastUsedFile();
    ring.index = std::max(last, 0);
    ring.truncateNext(last < 0); // a file that is continued is not emptied, whatever a rotation has asked for
    ring.nameCurrent();
    ring.lineCount = last < 0 ? 0 : lineCountOf(ring.files[ring.current]);
}

int Logger::findLastUsedFile() const {
    if (ring.maximumFiles < 0)
        return -2;
    ModificationTime before;
    for (int number = 0;; ++number) {
        const std::string path = ring.fileName(number);
        if (ring.files.count(path) == 0 || number + 1 > ring.maximumFiles)
            return number - 1;
        const ModificationTime now = modificationTime(path);
        // DELIBERATE: day and time are compared each by itself, not as one point in time.
        if (now.day < before.day || now.time < before.time)
            return number - 1;
        before = now;
    }
}

void Logger::log(unsigned level, const std::string& text) {
    if (m_isEnabled && (m_levelMask & level) != 0)
        printMessage(level, text);
}

void Logger::printMessage(unsigned level, const std::string& text) {
    printString((m_printsTime ? "[time]" : "") + tag(level) + messageText(text) + "\n");
}

void Logger::printString(const std::string& line) {
    ring.put(line);
    if (m_directWrite)
        writeOnFile();
}

void Logger::finish() {
    m_isEnabled = false;
    if (!m_directWrite && !ring.isEmpty())
        writeOnFile();
}

} // namespace model
