#pragma once

#include "LineReader.h"
#include "Ring.h"
#include "TraceLine.h"

#include <functional>
#include <memory>
#include <string>

namespace Zevo {

/// Follows a ring that is being written, from file to file: rotations, files that are emptied and restarted,
/// and a program that restarts with file 0. Used on one thread.
class Follower {
public:
    /// @param baseName as in Ring
    /// @param path     the file of the ring to begin with; empty: there is none yet
    /// @param position the number of its bytes that were already read
    explicit Follower(std::string baseName, const std::string& path = "", std::uint64_t position = 0);

    /// Passes on every complete line that was written since; does not wait.
    void poll(const std::function<void(std::string_view line)>& take);

private:
    struct Place {
        std::string path;
        std::int64_t modified = 0; // nanoseconds
        std::uint64_t size = 0;
    };

    Place newest() const;
    void open(const std::string& path, std::uint64_t position = 0);
    void readOn(const std::function<void(std::string_view line)>& take);
    bool wasBegunAgain();

    std::string m_baseName;
    std::string m_path;
    std::unique_ptr<LineReader> m_reader;
    std::string m_beginning; // the first characters of the file, to distinguish it from a restarted one
};

} // namespace Zevo
