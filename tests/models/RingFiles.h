#pragma once

#include "LineRingModel.h"
#include "RandomRuns.h"
#include "TemporaryFolder.h"
#include "TextFile.h"

#include <dirent.h>
#include <map>
#include <regex>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

/// Changes the files of a ring from outside, on disk and in the model, and reads them.
class RingFiles {
public:
    explicit RingFiles(model::LineRing& model) : m_model(model) { model.folder = m_folder.path() + "/"; }

    const TemporaryFolder& folder() const { return m_folder; }

    void remove(const std::string& path) {
        if (m_model.files.erase(path) != 0)
            unlink(path.c_str());
    }
    void put(const std::string& path, const std::string& content) {
        if (m_model.blocked.count(path) != 0)
            return;
        writeFile(path, content);
        m_model.files[path] = content;
    }
    /// Puts a folder in the file's place, so that it cannot be opened until unblock().
    void block(const std::string& path) {
        if (m_model.files.count(path) == 0 && m_model.blocked.insert(path).second)
            mkdir(path.c_str(), 0777);
    }
    void unblock() {
        for (const std::string& path : m_model.blocked)
            rmdir(path.c_str());
        m_model.blocked.clear();
    }
    /// The contents of the files on disk by path, with "[time]" in place of times, as in the model.
    std::map<std::string, std::string> read() const {
        static const std::regex TIME("\\[[0-9]{2}:[0-9]{2}:[0-9]{2}-[0-9]{3}\\]");
        std::map<std::string, std::string> files;
        DIR* const entries = opendir(m_folder.path().c_str());
        while (const dirent* const entry = readdir(entries)) {
            const std::string path = m_folder / entry->d_name;
            if (struct stat status; stat(path.c_str(), &status) == 0 && S_ISREG(status.st_mode))
                files[path] = std::regex_replace(readFile(path), TIME, "[time]");
        }
        closedir(entries);
        files.erase(m_folder / CONFIGURATION);
        return files;
    }
    std::string writeConfiguration(const std::string& text) const {
        writeFile(m_folder / CONFIGURATION, text);
        return m_folder / CONFIGURATION;
    }

private:
    static constexpr const char* CONFIGURATION = "configuration.cfg";

    TemporaryFolder m_folder;
    model::LineRing& m_model;
};

/// Performs an operation that tracer and logger share, or one on their files, on the framework and on the
/// model. False for any other operation.
/// @param operation  an enumerator of the caller's; the shared ones have the names below
template <typename Operation, typename Framework, typename Model>
bool performShared(Operation operation, Framework& framework, Model& model, RingFiles& files, unsigned number,
                   const std::string& text, const std::string& path) {
    switch (operation) {
    case Operation::PrintString:
        framework.PrintString(text + "\n");
        model.printString(text + "\n");
        return true;
    case Operation::WriteOnFile:
        framework.WriteOnFile();
        model.writeOnFile();
        return true;
    case Operation::SetDirectWrite:
        framework.setDirectWrite(number % 2 == 0);
        model.setDirectWrite(number % 2 == 0);
        return true;
    case Operation::UpdateFileName:
        if (model::LineRing::isNowhere(model.ring.current))
            return true;
        framework.UpdateFileName();
        model.updateFileName();
        return true;
    case Operation::Remove:
        files.remove(path);
        return true;
    case Operation::Block:
        files.block(path);
        return true;
    case Operation::Unblock:
        files.unblock();
        return true;
    default:
        return false;
    }
}

/// A configuration text of random lines: these and some that both languages share. Sometimes the last line
/// lacks its line feed.
/// @param prefix  the prefix of the language's keywords, which replaces "@"
inline rc::Gen<std::string> someConfiguration(const std::string& prefix, std::vector<std::string> lines) {
    for (std::string line : {"@ON",
                             "@ON\t \r",
                             "@OFF",
                             "@CLOCK",
                             "@MUST_FLUSH",
                             "@SET_MSG_FILTER @DEBUG @ERROR",
                             "@SET_MSG_FILTER @LEVEL_5 @LEVEL_0 @LEVEL_0",
                             "@SET_MSG_FILTER @WARNING @LEVEL_1 @LEVEL_2 @LEVEL_3 @LEVEL_4",
                             "@SET_FILE_NAME other-1",
                             "@SET_FILE_NAME msvc",
                             "@SET_MAX_LINES 0",
                             "@SET_MAX_LINES 1",
                             "@SET_MAX_LINES 3",
                             "@SET_MAX_LINES 7",
                             "@SET_MAX_LINES 99999999999",
                             "@SET_MAX_FILES 0",
                             "@SET_MAX_FILES 1",
                             "@SET_MAX_FILES 2",
                             "@SET_MAX_FILES 5",
                             "# @OFF",
                             "#",
                             "",
                             "   ",
                             "  \t@CLOCK"})
        lines.push_back(std::regex_replace(line, std::regex("@"), prefix));
    const auto chosen = rc::gen::container<std::vector<std::string>>(rc::gen::elementOf(lines));
    return rc::gen::map(rc::gen::pair(rc::gen::resize(12, chosen),
                                      rc::gen::weightedElement<std::string>({{9, "\n"}, {1, ""}})),
                        [](const auto& parts) { return joined(parts.first, "\n") + parts.second; });
}

/// Mostly a short text; sometimes one of a length near the limits at which texts are cut.
inline rc::Gen<std::string> someMessage() {
    return rc::gen::map(
        rc::gen::weightedElement<int>({{200, 5},
                                       {20, 0},
                                       {2, 2047},
                                       {2, 2048},
                                       {2, 2049},
                                       {1, 19999},
                                       {1, 20000},
                                       {1, 20001},
                                       {1, 25000}}),
        [](int length) {
            std::string text(static_cast<std::size_t>(length), 'm');
            for (std::size_t at = 0; at < text.size(); ++at)
                text[at] = static_cast<char>('a' + at % 26);
            return text;
        });
}
