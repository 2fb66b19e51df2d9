#include "ExecutableFolder.h"

#include "TextFile.h"

#include <cstdlib>
#include <cstring>
#include <mach-o/dyld.h>

static std::string executable;

ExecutableFolder::ExecutableFolder() {
    char* const real = realpath(m_folder.path().c_str(), NULL);
    m_path = real;
    std::free(real);
    executable = m_path + "/program";
    writeFile(executable, "");
}

ExecutableFolder::~ExecutableFolder() {
    executable.clear();
}

// Replaces the platform's function: the linker uses this one for every program that uses the class.
int _NSGetExecutablePath(char* buffer, uint32_t* size) {
    if (executable.size() >= *size) {
        *size = static_cast<uint32_t>(executable.size() + 1);
        return -1;
    }
    std::memcpy(buffer, executable.c_str(), executable.size() + 1);
    return 0;
}
