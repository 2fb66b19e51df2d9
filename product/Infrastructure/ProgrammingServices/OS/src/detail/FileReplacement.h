#pragma once

#include <string>
#include <string_view>
#include <vector>

// Writes files that people cannot recover when they are lost: parameter stores and saved dictionaries.

namespace kf::detail::FileReplacement {

/// What the file system could not do for a write, which went on without it. Each is one bit.
enum Lack : unsigned {
    NO_LOCK = 1,     ///< no locks: concurrent writers may lose a change
    NO_FLUSH = 2,    ///< the new content could not be flushed: a power cut may lose it
    NO_NEW_FILE = 4, ///< no file could be created beside or renamed over: it was written in place
};

/// Replaces the content of a file atomically: whatever happens in between (the process is killed, the disk is
/// full, the machine loses power), the file holds either its old content or the new one, never a part.
///
/// The new content is written to a hidden file beside (".", the name, "." and 16 hexadecimal digits, a unique
/// name), flushed to disk and renamed over the file; then the folder is flushed. On failure the hidden file
/// is removed. One that a killed process left is removed by the next replacement of the same file: it is a
/// regular file of this user with such a name, one link and no lock.
///
/// The file keeps its mode, its extended attributes and access list (and its owner, if the process may set
/// it); a new file gets 0666 less the process's umask. A symbolic link is followed: its target is replaced.
/// Other hard links to the file keep the old content.
///
/// If this process cannot create or rename a file in the folder (it is not writable, it is read-only around a
/// writable file, the file is a mount point, the file system has no such rename), the file is written in
/// place, under its own lock, for which it waits 5 seconds at most. Its space is reserved first, so that a
/// full disk still leaves the old content, but a process killed during that write leaves a mixture: there is
/// no better way in such a folder. Something that is not a regular file, a pipe or a terminal, and an open
/// descriptor of this process (/dev/stdout, /dev/fd/N) are also written directly; a pipe without a reader
/// blocks without a limit.
///
/// @param path     the file; its folder must exist
/// @param content  the bytes to store, any values
/// @param lacks    receives the bits of what the file system could not do; may be null
/// @return true if the new content is on disk; otherwise false with errno set (EWOULDBLOCK: somebody held the
/// file's own lock all the time), and the old content remains
///
/// Thread: any; concurrent replacements of one file, by threads or processes, do not mix.
bool replace(const std::string& path, std::string_view content, unsigned* lacks = nullptr);

/// For readers of such a file, after opening and before reading it: waits until nobody writes it in place, 5
/// seconds at most. No writer begins before the descriptor is closed. Costs one system call, and no wait if
/// nobody writes in place. Thread: any.
/// @return false, with errno EWOULDBLOCK, if somebody still writes
bool waitUntilWhole(int descriptor);

/// The texts, for the trace, of those lacks that this process has not reported yet. They count as reported
/// from then on. Thread: any.
std::vector<const char*> takeUntold(unsigned lacks);

} // namespace kf::detail::FileReplacement
