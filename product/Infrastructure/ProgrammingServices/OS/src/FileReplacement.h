#pragma once

#include <string>
#include <string_view>

// Writing a file that people cannot get back when it is lost: parameter stores and saved dictionaries.

namespace FileReplacement {

/// Replaces the whole content of a file so that, whatever happens in between (the process is killed, the disk
/// is full, the machine loses power), the file holds either its old content or the new one, never a part.
///
/// The new content is written to pathBeside(path, ".new") in the same folder, flushed to the disk and renamed
/// over the file; then the folder is flushed. The file keeps its mode (and its owner, where the process may
/// set it); a new file gets 0666 less the process's mask. A symbolic link is followed: what it points to is
/// replaced. Other hard links to the file keep the old content.
///
/// Where the folder does not let this process make or rename a file (it may not be written, it is read-only
/// around a writable file, the file is a mount point), or the file is not a regular one, the file is written
/// in place: its space is reserved first, so that a full disk still leaves the old content, but a process
/// killed during that write leaves a mixture. There is no better way in such a folder.
///
/// @param path     the file; its folder must exist
/// @param content  the bytes to store, any values
/// @return true when the new content is on the disk; otherwise false with errno set, and the old content
/// stands
///
/// Thread: any; concurrent replacements of one file, by threads or processes, happen one after the other.
bool replace(const std::string& path, std::string_view content);

} // namespace FileReplacement
