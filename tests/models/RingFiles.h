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

/// What is done to the files of a ring from outside, and what they hold.
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
    /// No file can be opened there, until unblock().
    void block(const std::string& path) {
        if (m_model.files.count(path) == 0 && m_model.blocked.insert(path).second)
            mkdir(path.c_str(), 0777);
    }
    void unblock() {
        for (const std::string& path : m_model.blocked)
            rmdir(path.c_str());
        m_model.blocked.clear();
    }
    /// The files that are there, by path, as the model writes them.
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

/// A configuration text of some of these lines; at times the last one lacks its line feed.
inline rc::Gen<std::string> someConfiguration(const std::vector<std::string>& lines) {
    const auto chosen = rc::gen::container<std::vector<std::string>>(rc::gen::elementOf(lines));
    return rc::gen::map(rc::gen::pair(rc::gen::resize(12, chosen),
                                      rc::gen::weightedElement<std::string>({{9, "\n"}, {1, ""}})),
                        [](const auto& parts) { return joined(parts.first, "\n") + parts.second; });
}

/// Mostly short; some of the lengths where texts are cut.
inline rc::Gen<std::string> someMessage() {
    return rc::gen::map(rc::gen::weightedElement<int>({{200, 5},
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
