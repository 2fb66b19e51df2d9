#pragma once

#include <string>

// Existence tests, creation, copying and deletion of files and folders, the standard folders of the user and
// of the machine, and the executable's own path. Paths are narrow texts with '/' as separator.
//
// Nothing here throws or traces; results tell all there is to know, and work done before a failure stays.
// Several operations are lenient, inert or inverted on purpose: callers rely on it.
//
// Thread: any. createFolder() and copyFolder() set the file creation mask of the whole process to 0 and leave
// it so.
namespace FileSystemManagement {

/// '/'
char getFolderSeparator();

/// True for any kind of entry: files, folders, links (dangling ones included), devices.
bool existFile(std::string path);
/// True for a folder, or a link to one.
bool existFolder(std::string path);

/// Creates every missing folder along the path, with mode 0777 exactly. True when the whole path is a folder
/// afterwards; an empty path gives false. The application-support folders that the path may lie in, those
/// of getUserAppDataDirectory() and getCommonAppDataDirectory(), are made by the system, with the modes that
/// it gives them, or not at all where it does not make them, as in a home folder that does not exist.
bool createFolder(std::string path);
/// Creates the folder, and in it the file if it is missing; an existing file keeps its content. False when
/// the folder cannot be made (an empty one included) or the file cannot be opened.
bool createFile(const std::string& folder, const std::string& name);

/// Removes a file or an empty folder.
/// DELIBERATE: inverted, true when that FAILED and false when it worked. Callers are written against it.
bool deleteFile(std::string path);
/// Removes everything in the folder, and the folder itself when `removeItself` says so. Links are removed,
/// not followed, except when `path` itself is one. With `removeItself`: true when the folder is gone
/// afterwards. Without: true when there was something in it, false when it was empty, missing or unreadable.
bool deleteFolder(std::string path, bool removeItself);
/// Removes the folder if it is empty; true when that worked.
bool DeleteEmptyFolder(std::string path);

/// Copies one file's content; an existing destination is emptied first, so a file copied onto itself is empty
/// afterwards. False for an empty source, or when something cannot be opened, read or written.
bool Copy(std::string source, std::string destination);
/// Copies a tree; links are followed, and a link that leads back up the tree is copied as an empty folder.
/// `pattern` filters the files (never the folders): *.log copies the files whose name contains log anywhere,
/// an empty pattern, "*" and "*.*" copy all. False when `source` is no folder, `destination` cannot be
/// created, or an entry of `source` leads nowhere; what goes wrong below is not reported.
bool copyFolder(std::string source, std::string destination, std::string pattern);

/// Inert on this platform: does nothing and returns true.
bool Move(std::string source, std::string destination);
/// Inert on this platform: does nothing and returns false.
bool RemoveReadOnly(std::string path);
/// Initialisation files are not supported on this platform: returns an empty text, not the default value.
std::string ReadParamFromIniFile(std::string file, std::string section, std::string key,
                                 std::string defaultValue);

/// The application-support folder of the machine and of the user, without a separator at the end. Empty when
/// the system knows none. Never creates it.
std::string getCommonAppDataDirectory();
std::string getUserAppDataDirectory();
/// The user's desktop folder, without a separator at the end; empty when the system knows none.
std::string getUserDesktopFolder();

/// The running executable, absolute and free of links; empty when the system does not tell.
std::string getCurrentExecutableFullPath();
/// What follows the last '/' of the full path.
std::string getCurrentExecutableName();
/// The full path up to and including its last '/': a file name can be appended directly.
std::string getCurrentExecutableDirectory();
/// Where trace and log files go that have no folder: the executable's directory.
std::string getCurrentOutputDirectory();

} // namespace FileSystemManagement
