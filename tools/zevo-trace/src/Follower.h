#pragma once

#include "LineReader.h"
#include "Ring.h"
#include "TraceLine.h"

#include <functional>
#include <memory>
#include <string>

namespace Zevo {

/// Follows a ring that is being written, from file to file: a rotation, a file that is emptied and begun again, and a
/// program that starts anew with file 0. Used on one thread.
class Follower {
public:
    /// @param baseName as in Ring
    /// @param path     the file of the ring to begin with; empty: there is none yet
    /// @param position so many bytes of it are known
    explicit Follower(std::string baseName, const std::string& path = "", std::uint64_t position = 0);

    /// Hands over every whole line that has been written since; does not wait for any.
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
    std::string m_beginning; // the first characters of the file, to tell it from one that was begun again
};

} // namespace Zevo
