#include "FileFinder.h"
#include "FileSystemManagement.h"
#include "FuzzInput.h"
#include "PatternFileFinder.h"
#include "Require.h"
#include "TemporaryFolder.h"
#include "TextFile.h"

// Names and patterns of any bytes, below a temporary folder.

namespace {

/// The number of entries that the finder finds.
int countOf(FileFinder&& finder) {
    int count = 0;
    for (std::string name; finder.findNextFile(name); ++count)
        require(!name.empty());
    return count;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const TemporaryFolder folder;
    FuzzInput input(data, size);
    // Limited, because each folder of a deep tree is reached from the root again.
    const std::string relative = input.line().substr(0, 600);
    const std::string name = input.line();
    const std::string pattern = input.line();
    if ((relative + name).find("..") != std::string::npos)
        return 0; // it would lead out of the folder

    const std::string inside = folder / "in";
    const bool isMade = FileSystemManagement::createFolder(inside + "/" + relative);
    if (isMade)
        require(FileSystemManagement::existFolder(inside));
    if (FileSystemManagement::createFile(inside, name)) {
        const std::string file = inside + "/" + name;
        require(FileSystemManagement::existFile(file));
        require(FileSystemManagement::Copy(file, folder / "copy") && readFile(folder / "copy").empty());
    }
    const int all = countOf(PatternFileFinder(inside, "*"));
    const int found = countOf(PatternFileFinder(inside, pattern.substr(0, 100)));
    require(found <= all);
    require(countOf(FileFinder(inside, pattern.substr(0, 100))) <= all);
    if (FileSystemManagement::existFolder(inside))
        require(FileSystemManagement::copyFolder(inside, folder / "out", pattern.substr(0, 100)));
    FileSystemManagement::deleteFolder(inside, true);
    FileSystemManagement::deleteFolder(folder / "out", true);
    require(!FileSystemManagement::existFile(inside) && !FileSystemManagement::existFile(folder / "out"));
    FileSystemManagement::deleteFile(folder / "copy");
    return 0;
}
