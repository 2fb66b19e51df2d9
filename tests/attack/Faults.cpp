#include "Faults.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <stdexcept>
#include <sys/mman.h>
#include <unistd.h>

namespace Zevo {

Faults::Faults(const std::string& folder) : m_path(folder + "/faults") {
    const int file = open(m_path.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
    void* page = MAP_FAILED;
    if (file >= 0 && ftruncate(file, sizeof(faults)) == 0)
        page = mmap(nullptr, sizeof(faults), PROT_READ | PROT_WRITE, MAP_SHARED, file, 0);
    if (page == MAP_FAILED)
        throw std::runtime_error("cannot map " + m_path + ": " + std::strerror(errno));
    close(file);
    m_page = static_cast<faults*>(page);
}

Faults::~Faults() {
    munmap(m_page, sizeof(faults));
}

std::vector<std::string> Faults::environment() const {
    // Before the virtual bus's library: that one calls the C library directly and would bypass a library
    // behind it.
    const char* const preloaded = std::getenv("LD_PRELOAD");
    return {"LD_PRELOAD=" ZEVO_FAULTS_LIBRARY ":" + std::string(preloaded == nullptr ? "" : preloaded),
            ZEVO_FAULT_FILE "=" + m_path};
}

void Faults::reset() {
    *m_page = faults();
}

void Faults::failAllocation(unsigned long number, unsigned long howMany) {
    write(m_page->fail_from, 0);
    write(m_page->fail_more, howMany - 1);
    write(m_page->fail_from, number);
}

void Faults::refuseWriting(const std::string& folder, int error) {
    std::strncpy(m_page->disk_folder, folder.c_str(), sizeof m_page->disk_folder - 1);
    write(m_page->disk_error, error);
}

} // namespace Zevo
