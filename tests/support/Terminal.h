#pragma once

#include <cstdio>
#include <poll.h>
#include <pty.h>
#include <stdexcept>
#include <string>
#include <unistd.h>

/// A pseudo-terminal: what is written to its stream can be read back.
class Terminal {
public:
    Terminal() {
        int inner = -1;
        if (openpty(&m_outer, &inner, nullptr, nullptr, nullptr) != 0)
            throw std::runtime_error("cannot open a terminal");
        m_stream = fdopen(inner, "w");
    }
    ~Terminal() {
        std::fclose(m_stream);
        close(m_outer);
    }
    Terminal(const Terminal&) = delete;
    Terminal& operator=(const Terminal&) = delete;

    std::FILE* stream() const { return m_stream; }

    /// Everything that was written since the last call.
    std::string written() {
        std::fflush(m_stream);
        std::string result;
        char part[4096];
        pollfd readable = {m_outer, POLLIN, 0};
        while (poll(&readable, 1, 0) == 1 && (readable.revents & POLLIN) != 0) {
            const ssize_t length = read(m_outer, part, sizeof part);
            if (length <= 0)
                break;
            result.append(part, static_cast<std::size_t>(length));
        }
        return result;
    }

private:
    int m_outer = -1;
    std::FILE* m_stream = nullptr;
};
