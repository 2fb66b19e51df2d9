#pragma once

#include <string>

// Existence tests, creation, copying and deletion of files and folders, the standard folders of the user and
// of the machine, and the executable's own path. Paths are narrow strings with '/' as separator.
//
// Nothing here throws or traces: the results are the only report, and work done before a failure is kept.
// Some operations are lenient, do nothing, or return an inverted result on purpose: callers rely on it.
//
// Thread: any. createFolder() and copyFolder() set the umask of the process to 0 and leave it so.
namespace FileSystemManagement {

/// '/'
char getFolderSeparator();

/// True for any kind of entry: files, folders, links (dangling ones included), devices.
bool existFile(std::string path);
/// True for a folder, or a link to one.
bool existFolder(std::string path);

/// Creates every missing folder along the path, with mode 0777 exactly. True if the whole path is a folder
/// afterwards; false for an empty path. The application-support folders that the path may lie in, those of
/// getUserAppDataDirectory() and getCommonAppDataDirectory(), are created by the system: with the modes that
/// it gives them, or not at all if it refuses, as in a home folder that does not exist.
bool createFolder(std::string path);
/// Creates the folder, and in it the file if it is missing; an existing file keeps its content. False if the
/// folder cannot be created (or its path is empty) or the file cannot be opened.
bool createFile(const std::string& folder, const std::string& name);

/// Removes a file or an empty folder.
/// DELIBERATE: inverted, true if that FAILED and false if it worked. Callers are written against it.
bool deleteFile(std::string path);
/// Removes everything in the folder, and with `removeItself` the folder, too. Links are removed, not
/// followed, unless `path` itself is one. With `removeItself`: true if the folder is gone afterwards.
/// Without: true if there was something in it, false if it was empty, missing or unreadable.
bool deleteFolder(std::string path, bool removeItself);
/// Removes the folder if it is empty; true if that worked.
bool DeleteEmptyFolder(std::string path);

/// Copies the content of one file. An existing destination is emptied first, so a file that is copied onto
/// itself is empty afterwards. False for an empty source path, or if something cannot be opened, read or
/// written.
bool Copy(std::string source, std::string destination);
/// Copies a tree. Links are followed; a link that leads back up the tree is copied as an empty folder.
/// `pattern` filters the files, never the folders: *.log copies the files whose name contains log anywhere;
/// an empty pattern, "*" and "*.*" copy all. False if `source` is not a folder, if `destination` or a folder
/// directly in it cannot be created, or if an entry of `source` leads nowhere; failures further below are not
/// reported.
bool copyFolder(std::string source, std::string destination, std::string pattern);

/// Not supported on this platform: does nothing and returns true.
bool Move(std::string source, std::string destination);
/// Not supported on this platform: does nothing and returns false.
bool RemoveReadOnly(std::string path);
/// Initialisation files are not supported on this platform: returns an empty text, not the default value.
std::string ReadParamFromIniFile(std::string file, std::string section, std::string key,
                                 std::string defaultValue);

/// The application-support folder of the machine and of the user, without a trailing separator. Empty if the
/// system knows none. Never creates it.
std::string getCommonAppDataDirectory();
std::string getUserAppDataDirectory();
/// The user's desktop folder, without a trailing separator; empty if the system knows none.
std::string getUserDesktopFolder();

/// The path of the running executable, absolute and with all links resolved; empty if the system does not
/// know it.
std::string getCurrentExecutableFullPath();
/// What follows the last '/' of the full path.
std::string getCurrentExecutableName();
/// The full path up to and including its last '/': a file name can be appended directly.
std::string getCurrentExecutableDirectory();
/// Where trace and log files without a folder go: the executable's directory.
std::string getCurrentOutputDirectory();

} // namespace FileSystemManagement
