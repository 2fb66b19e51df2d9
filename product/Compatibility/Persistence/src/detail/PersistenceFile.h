#pragma once

#include "PersistenceMode.h"

#include <functional>
#include <string>

namespace kf::detail {

/// The file behind one parameter store, text or binary: where it is, and how it is read, changed and replaced
/// so that neither a kill, a full disk nor a second process loses a parameter.
///
/// Nothing is cached: stores and processes see each other's writes at the next access. A write replaces the
/// file atomically (FileReplacement), and holds the file's lock (FileLock) from the read to the replacement.
/// A reader waits only for a process that has to write the file in place; otherwise it always reads a
/// complete file. Thread: any.
class PersistenceFile {
public:
    /// Computes the path base + "/Ferrow/" + scope + "/" + domain + suffix, and creates the "Ferrow" and the
    /// scope folder if they are missing. If a folder cannot be created, the writes fail.
    PersistenceFile(const std::string& scope, const std::string& domain, t_PersistenceMode mode,
                    const std::string& suffix);
    ~PersistenceFile();
    PersistenceFile(const PersistenceFile&) = delete;
    PersistenceFile& operator=(const PersistenceFile&) = delete;

    const std::string& getPath() const { return m_path; }

    /// Reads the file. A missing file counts as empty.
    /// @return false, with the reason traced, if the file exists but cannot be read, is being written in
    ///         place for 5 seconds, has 2 GB and more, or does not fit into memory. A write after that would
    ///         lose its content
    bool read(std::string& content) const;

    /// Replaces the file.
    /// @return false, with the reason traced, on failure (2 GB and more always fail); the old content then
    /// remains
    bool write(const std::string& content) const;

    /// Runs `action` while no other store may write the file.
    /// @return the action's result; false, with the reason traced, if the lock cannot be taken within 5
    ///         seconds or memory runs out. If the file system has no locks, the action runs without one
    bool whileLocked(const std::function<bool()>& action) const;

    /// Runs `action`, which holds the file's content in memory.
    /// @return the action's result; false, with the reason traced, if it runs out of memory: a 32-bit process
    ///         cannot hold a text of 1.1 GB
    bool whileMemoryLasts(const std::function<bool()>& action) const;

    /// Whether the file exists.
    bool exists() const;

private:
    /// Traces what the file system could not do (FileReplacement::Lack), each once in this process.
    void traceLacks(unsigned lacks) const;

    std::string m_path;
};

} // namespace kf::detail
