#pragma once

#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>

/// The content of a file, byte for byte; throws if it cannot be read.
inline std::string readFile(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    if (!file)
        throw std::runtime_error("cannot read " + path);
    return std::string(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
}

/// Creates or replaces a file; throws if it cannot be written.
inline void writeFile(const std::string& path, const std::string& content) {
    std::ofstream file(path, std::ios::binary | std::ios::trunc);
    if (!(file << content).flush())
        throw std::runtime_error("cannot write " + path);
}
