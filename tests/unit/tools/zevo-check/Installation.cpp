#include "Installation.h"

#include "Report.h"
#include "TextFile.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <sstream>

namespace fs = std::filesystem;

static const std::string MISTAKES = CHECK_TESTS_FOLDER "/mistakes";

static void put(const fs::path& from, const fs::path& to) {
    fs::copy(from, to, fs::copy_options::recursive | fs::copy_options::overwrite_existing);
}

Installation::Installation(const std::string& mistake) : m_path(fs::canonical(m_folder.path())) {
    setenv("PLATFORM_ROOT", (m_path + "/machine").c_str(), 1);
    setenv("XDG_DATA_HOME", (m_path + "/data").c_str(), 1);
    put(CHECK_TESTS_FOLDER "/correct", m_path);
    if (mistake.empty())
        return;
    const fs::path folder = fs::path(MISTAKES) / mistake;
    if (fs::exists(folder / "without")) {
        std::istringstream names(readFile(folder / "without"));
        for (std::string name; std::getline(names, name);)
            fs::remove_all(fs::path(m_path) / name);
    }
    put(folder, m_path);
}

Installation::~Installation() {
    unsetenv("PLATFORM_ROOT");
    unsetenv("XDG_DATA_HOME");
}

Zevo::CheckOptions Installation::options() const {
    Zevo::CheckOptions options;
    options.folder = folder();
    options.freeBytes = [](const std::string&) { return std::uint64_t{100'000'000'000}; };
    return options;
}

Zevo::CheckResult Installation::check() const {
    return checkInstallation(options());
}

std::string Installation::report() const {
    std::string text = asText(check(), options(), Zevo::Colours(false));
    for (std::size_t at = text.find(m_path); at != std::string::npos; at = text.find(m_path, at))
        text.erase(at, m_path.size() + 1);
    return text;
}

std::vector<std::string> allMistakes() {
    std::vector<std::string> names;
    for (const fs::directory_entry& entry : fs::directory_iterator(MISTAKES))
        names.push_back(entry.path().filename());
    std::sort(names.begin(), names.end());
    return names;
}
