#include "Mending.h"

#include "Check.h"
#include "FileWriting.h"
#include "SourceText.h"

#include "detail/FileReplacement.h"

#include <fmt/format.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <stdexcept>
#include <string_view>
#include <sys/stat.h>
#include <unistd.h>

using namespace kf::detail;

namespace Zevo {
namespace {

const char* const NAMES[] = {"ID.txt", "Launcher.cfg", "tracer_zevolauncher.cfg", "logger_launcher.cfg"};

/// A temporary folder, removed with the object.
class PassingFolder {
public:
    PassingFolder() : m_path((std::filesystem::temp_directory_path() / "zevo-check-XXXXXX").string()) {
        if (mkdtemp(m_path.data()) == nullptr)
            throw std::runtime_error(m_path + " cannot be made: " + std::strerror(errno));
    }
    ~PassingFolder() {
        std::error_code ignored;
        std::filesystem::remove_all(m_path, ignored);
    }
    PassingFolder(const PassingFolder&) = delete;
    PassingFolder& operator=(const PassingFolder&) = delete;

    std::string path() const { return m_path + "/"; }

private:
    std::string m_path;
};

bool endsIn(const std::string& id, std::string_view end) {
    return id.size() >= end.size() && id.compare(id.size() - end.size(), end.size(), end) == 0;
}

// The offset in the text at which the finding's line begins.
std::size_t offsetOf(const std::string& text, const Place& place) {
    std::size_t start = 0;
    for (int line = 1; line < place.line; ++line)
        start = text.find('\n', start) + 1;
    return start + static_cast<std::size_t>(place.column) - 1;
}

/// Corrects the finding; false if there is more than one possible correction.
bool mend(const Finding& finding, std::string& text) {
    if (endsIn(finding.id, "-byte-order-mark")) {
        text.erase(0, 3);
    } else if (endsIn(finding.id, "-old-line-ends")) {
        std::replace(text.begin(), text.end(), '\r', '\n');
    } else if (endsIn(finding.id, "-last-line-without-line-feed")) {
        text += '\n';
    } else if (endsIn(finding.id, "-key-letter-case") || finding.id == "launcher-id-markers") {
        text.replace(offsetOf(text, finding.place), static_cast<std::size_t>(finding.place.length),
                     finding.meant);
    } else {
        return false;
    }
    return true;
}

Findings check(const std::string& folder) {
    CheckOptions options;
    options.folder = folder;
    options.withApplications = false;
    return checkInstallation(options).findings;
}

bool hasTwice(const Findings& findings, const std::string& key) {
    return std::any_of(
        findings.begin(), findings.end(),
        [&key](const Finding& finding) {
            return endsIn(finding.id, "-key-twice") &&
                   finding.wrong.compare(0, key.size() + 1, key + " ") == 0;
        });
}

// One change at a time: the next check then reports the new positions.
bool mendOne(const std::string& folder) {
    for (const Finding& finding : check(folder)) {
        const std::string before = SourceText(finding.place.file, "").bytes();
        std::string text = before;
        if (!mend(finding, text) || text == before)
            continue;
        writeFile(finding.place.file, text);
        if (finding.meant.empty() || !hasTwice(check(folder), finding.meant))
            return true;
        // The correct key exists, too. One of the two would win, and nobody knows which was intended.
        writeFile(finding.place.file, before);
    }
    return false;
}

std::vector<std::string> linesOf(const std::string& text) {
    std::vector<std::string> lines;
    for (std::size_t start = 0; start < text.size();) {
        const std::size_t end =
            std::min(text.size(),
                     text.find('\n', start) == std::string::npos ? text.size() : text.find('\n', start) + 1);
        lines.push_back(text.substr(start, end - start));
        start = end;
    }
    return lines;
}

// Without its line feed; invisible characters are named.
std::string visible(const std::string& line) {
    std::string text;
    std::size_t start = 0;
    if (line.compare(0, 3, "\xEF\xBB\xBF") == 0) {
        text = "<byte order mark>";
        start = 3;
    }
    for (std::size_t i = start; i < line.size() && line[i] != '\n'; ++i) {
        const bool isControl =
            (static_cast<unsigned char>(line[i]) < ' ' && line[i] != '\t') || line[i] == 0x7F;
        text += isControl ? "<" + shownCharacter(line[i]) + ">" : std::string(1, line[i]);
    }
    if (line.empty() || line.back() != '\n')
        text += "<no line feed>";
    return text;
}

std::string nameOfCopy(const std::string& path) {
    struct stat status;
    std::string copy = path + ".bak";
    for (int number = 2; lstat(copy.c_str(), &status) == 0; ++number)
        copy = fmt::format("{}.bak{}", path, number);
    return copy;
}

} // namespace

std::vector<MendedFile> planMending(const std::string& folder) {
    const PassingFolder trial;
    std::vector<MendedFile> files;
    for (const char* const name : NAMES) {
        const SourceText text(folder + name, name);
        if (!text.whyUnreadable().empty())
            continue;
        files.push_back({name, text.bytes(), ""});
        writeFile(trial.path() + name, text.bytes());
    }
    while (mendOne(trial.path())) {
    }
    for (MendedFile& file : files)
        file.after = SourceText(trial.path() + file.name, "").bytes();
    files.erase(std::remove_if(files.begin(), files.end(),
                               [](const MendedFile& file) { return file.before == file.after; }),
                files.end());
    return files;
}

std::string differenceText(const MendedFile& file, const Colours& colours) {
    const std::vector<std::string> before = linesOf(file.before);
    const std::vector<std::string> after = linesOf(file.after);
    std::string text = colours.strong("--- " + file.name) + "\n" + colours.strong("+++ " + file.name) + "\n";
    const bool isLineByLine =
        before.size() == after.size(); // otherwise the line structure itself has changed
    for (std::size_t i = 0; isLineByLine && i < before.size(); ++i) {
        if (before[i] != after[i])
            text += fmt::format("line {}\n{}\n{}\n", i + 1, colours.error("-" + visible(before[i])),
                                colours.good("+" + visible(after[i])));
    }
    if (isLineByLine)
        return text;
    for (const std::string& line : before)
        text += colours.error("-" + visible(line)) + "\n";
    for (const std::string& line : after)
        text += colours.good("+" + visible(line)) + "\n";
    return text;
}

std::string writeMended(const std::string& folder, const MendedFile& file) {
    // A package's files are links to the machine's configuration folder: the copy belongs there, too.
    const std::string path = std::filesystem::canonical(folder + file.name).string();
    if (SourceText(path, "").bytes() != file.before)
        throw std::runtime_error(path + " has changed meanwhile; it is left as it is");
    const std::string copy = nameOfCopy(path);
    std::error_code problem;
    std::filesystem::copy_file(path, copy, problem);
    if (problem)
        throw std::runtime_error(
            fmt::format("{} cannot be written ({}); {} is left as it is", copy, problem.message(), path));
    unsigned lacks = 0;
    if (!FileReplacement::replace(path, file.after, &lacks))
        throw std::runtime_error(fmt::format("{} cannot be written; {} holds what it was", path, copy));
    return copy;
}

} // namespace Zevo
