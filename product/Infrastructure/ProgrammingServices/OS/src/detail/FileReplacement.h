#pragma once

#include <string>
#include <string_view>
#include <vector>

// Writing a file that people cannot get back when it is lost: parameter stores and saved dictionaries.

namespace kf::detail::FileReplacement {

/// What the file system could not do for a write, which went on without it. Bits of one number.
enum Lack : unsigned {
    NO_LOCK = 1,     ///< no locks: who writes at the same time may lose a change
    NO_FLUSH = 2,    ///< the new content could not be flushed: a power cut may lose it
    NO_NEW_FILE = 4, ///< no file could be made beside or renamed over: it was written in place
};

/// Replaces the whole content of a file so that, whatever happens in between (the process is killed, the disk
/// is full, the machine loses power), the file holds either its old content or the new one, never a part.
///
/// The new content is written to a hidden file beside (".", the name, "." and 16 hexadecimal digits, a name
/// that nobody else has), flushed to the disk and renamed over the file; then the folder is flushed. When
/// that fails, the file beside is removed; one that a killed process left, by the next replacement of the
/// same file: a regular file of this user under such a name, with one link, that nobody has locked.
///
/// The file keeps its mode, its extended attributes and access list (and its owner, where the process may set
/// it); a new file gets 0666 less the process's mask. A symbolic link is followed: what it points to is
/// replaced. Other hard links to the file keep the old content.
///
/// Where the folder does not let this process make or rename a file (it may not be written, it is read-only
/// around a writable file, the file is a mount point, the file system has no such rename), the file is
/// written in place, under its own lock, for which it waits 5 seconds at most: its space is reserved first,
/// so that a full disk still leaves the old content, but a process killed during that write leaves a mixture.
/// There is no better way in such a folder. A file that is not a regular one, a pipe or a terminal, and an
/// open descriptor of this process (/dev/stdout, /dev/fd/N) get the content as it is, too; a pipe without a
/// reader is waited for without end.
///
/// @param path     the file; its folder must exist
/// @param content  the bytes to store, any values
/// @param lacks    gets the bits of what the file system could not do; may be null
/// @return true when the new content is on the disk; otherwise false with errno set (EWOULDBLOCK: somebody
/// has held the file's own lock all the time), and the old content stands
///
/// Thread: any; concurrent replacements of one file, by threads or processes, do not mix.
bool replace(const std::string& path, std::string_view content, unsigned* lacks = nullptr);

/// For who reads such a file, once it is open and before it is read: waits until nobody writes it in place, 5
/// seconds at most. Nobody begins to before the descriptor is closed. Costs a reader one system call, where
/// nobody writes in place no wait. Thread: any.
/// @return false, with errno EWOULDBLOCK, when somebody still does
bool waitUntilWhole(int descriptor);

/// Those of the lacks that this process has not told yet, as texts for the trace; they are told with this.
/// Thread: any.
std::vector<const char*> takeUntold(unsigned lacks);

} // namespace kf::detail::FileReplacement
