#pragma once

#include "PersistenceMode.h"

#include <functional>
#include <string>

namespace kf::detail {

/// The file behind one parameter store, text or binary: where it lies, and how it is read, changed and
/// replaced so that neither a kill, a full disk nor a second process loses a parameter.
///
/// Nothing is held in memory: several stores and processes see each other's writes at the next access. A
/// write replaces the file as a whole (FileReplacement) and holds the file's lock (FileLock) from the read to
/// the replacement. A reader waits only for a process that has to write the file in place; otherwise it always
/// meets a whole file. Thread: any.
class PersistenceFile {
public:
    /// Computes the path base + "/Ferrow/" + scope + "/" + domain + suffix, and creates the "Ferrow" and the
    /// scope folder when they are missing. A folder that cannot be created shows when the file is written.
    PersistenceFile(const std::string& scope, const std::string& domain, t_PersistenceMode mode,
                    const std::string& suffix);
    ~PersistenceFile();
    PersistenceFile(const PersistenceFile&) = delete;
    PersistenceFile& operator=(const PersistenceFile&) = delete;

    const std::string& getPath() const { return m_path; }

    /// Reads the whole file. A missing file is an empty one.
    /// @return false, with the reason traced, when there is a file and it cannot be read, is being written in
    ///         place for 5 seconds, has 2 GB and more, or does not fit into memory: a write after that would
    ///         lose what the file holds
    bool read(std::string& content) const;

    /// Replaces the file. @return false, with the reason traced, when that failed (2 GB and more always do);
    /// the old content then stands.
    bool write(const std::string& content) const;

    /// Runs `action` while this store alone may write the file.
    /// @return the action's result; false, with the reason traced, when the lock cannot be had within 5
    ///         seconds or when memory runs out. Where the file system has no locks, the action runs without one.
    bool whileLocked(const std::function<bool()>& action) const;

    /// Runs `action`, which holds the file's content in memory. @return the action's result; false, with the
    /// reason traced, when memory runs out in it: a 32-bit process cannot hold a text of 1.1 GB
    bool whileMemoryLasts(const std::function<bool()>& action) const;

    /// True when the file is there.
    bool exists() const;

private:
    /// Traces what the file system could not do (FileReplacement::Lack), each once in this process.
    void traceLacks(unsigned lacks) const;

    std::string m_path;
};

} // namespace kf::detail
