#include "FileSystemManagement.h"

#include "MAC/AutoreleaseScope.h"

std::string FileSystemManagement::getUserDesktopFolder() {
    const AutoreleaseScope pool;
    NSArray* folders = NSSearchPathForDirectoriesInDomains(NSDesktopDirectory, NSUserDomainMask, YES);
    const char* path = [folders count] == 0 ? nullptr : [[folders objectAtIndex:0] UTF8String];
    return path == nullptr ? std::string() : path;
}
