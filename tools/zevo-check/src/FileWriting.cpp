#include "FileWriting.h"

#include <cerrno>
#include <cstring>
#include <fstream>
#include <stdexcept>

namespace Zevo {

void writeFile(const std::string& path, const std::string& text) {
    std::ofstream file(path, std::ios::binary | std::ios::trunc);
    if (!(file << text).flush())
        throw std::runtime_error(path + " cannot be written: " + std::strerror(errno));
}

} // namespace Zevo
