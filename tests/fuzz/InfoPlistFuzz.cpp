#include "CoreServices/InfoPlist.h"
#include "Require.h"
#include "TemporaryFolder.h"
#include "TextFile.h"

#include <cstdint>

// An application bundle's Info.plist, in text or binary form.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const TemporaryFolder folder;
    writeFile(folder / "Info.plist", std::string(reinterpret_cast<const char*>(data), size));
    const std::string name = LinuxPlatform::executableNameFromInfoPlist(folder / "Info.plist");
    require(name.size() <= size);
    return 0;
}
