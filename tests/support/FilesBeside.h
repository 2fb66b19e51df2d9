#pragma once

#include <dirent.h>
#include <memory>
#include <string>
#include <vector>

/// The names of the files beside the file at `path` that its replacement creates, and of similar ones.
inline std::vector<std::string> filesBeside(const std::string& path) {
    const std::string::size_type slash = path.rfind('/');
    const std::string stem = "." + path.substr(slash + 1) + ".";
    std::vector<std::string> names;
    const std::unique_ptr<DIR, int (*)(DIR*)> folder(opendir(path.substr(0, slash).c_str()), closedir);
    while (const dirent* const entry = folder != nullptr ? readdir(folder.get()) : nullptr) {
        const std::string name = entry->d_name;
        if (name.compare(0, stem.size(), stem) == 0)
            names.push_back(name);
    }
    return names;
}
