#include "DataFolders.h"

#include <CoreServices/CoreServices.h>

#include <cstring>

static std::string root;

DataFolders::DataFolders(const std::string& folder) {
    root = folder;
}

DataFolders::~DataFolders() {
    root.clear();
}

// Replaces the File Manager's function, which reads no variable for the user's folders: tests must not write
// there.
OSErr FSFindFolder(FSVolumeRefNum domain, OSType type, Boolean, FSRef* folder) {
    if (root.empty() || type != kApplicationSupportFolderType ||
        (domain != kLocalDomain && domain != kUserDomain))
        return fnfErr;
    folder->hidden[0] = domain == kUserDomain;
    return noErr;
}

OSStatus FSRefMakePath(const FSRef* folder, UInt8* path, UInt32 size) {
    const std::string text = root + (folder->hidden[0] ? "/user" : "/var/lib");
    if (text.size() >= size)
        return pathTooLongErr;
    std::memcpy(path, text.c_str(), text.size() + 1);
    return noErr;
}
