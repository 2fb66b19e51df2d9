#include "LoggerModel.h"

#include <algorithm>
#include <ctime>
#include <string>
#include <sys/stat.h>

namespace model {
namespace {

/// The day and the time of day of a file's last change, each as a number, for comparisons.
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

/// The number of lines; a last line without line feed counts, too.
int lineCountOf(const std::string& content) {
    const auto feeds = std::count(content.begin(), content.end(), '\n');
    return static_cast<int>(feeds) + (content.empty() || content.back() == '\n' ? 0 : 1);
}

} // namespace

void Logger::configure(const std::string& text) {
    for (const Statement& statement : statementsOf(text))
        execute(statement);
}

void Logger::setFileName(const std::string& name) {
    if (!nameRing(name))
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
        // DELIBERATE: day and time of day are compared separately, not as one point in time.
        if (now.day < before.day || now.time < before.time)
            return number - 1;
        before = now;
    }
}

void Logger::log(unsigned level, const std::string& text) {
    if (isEnabled() && isInLevelMask(level))
        printMessage(level, text);
}

void Logger::printMessage(unsigned level, const std::string& text) {
    printString(time() + tag(level) + messageText(text) + "\n");
}

} // namespace model
