#include "BundleExecutable.h"

#include "Bundles.h"
#include "InfoPlist.h"

#include <cerrno>
#include <sys/stat.h>

namespace LinuxPlatform {

namespace {

/// The bundle's name without ".app". If a link of such a name leads to the bundle, the link's name counts.
std::string ownName(const ReferencedPath& bundle) {
    std::string name = lastComponent(bundle.named);
    if (!isBundleName(name))
        name = lastComponent(bundle.real);
    return isBundleName(name) ? name.substr(0, name.rfind('.')) : std::string();
}

} // namespace

OSStatus checkBundle(const ReferencedPath& bundle) {
    struct stat found;
    if (::stat(bundle.real.c_str(), &found) != 0)
        return statusOfErrno(errno);
    if (!S_ISDIR(found.st_mode) || ownName(bundle).empty())
        return kLSNotAnApplicationErr;
    return noErr;
}

OSStatus findBundleExecutable(const ReferencedPath& bundle, std::string& file) {
    const std::string contents = bundle.real + "/Contents/";
    std::string name = executableNameFromInfoPlist(contents + "Info.plist");
    if (name.empty())
        name = ownName(bundle);
    if (name.find('/') != std::string::npos)
        return kLSNoExecutableErr; // it would lead out of the folder
    file = contents + "MacOS/" + name;
    struct stat found;
    if (::stat(file.c_str(), &found) != 0)
        return errno == EACCES ? kLSNoLaunchPermissionErr : kLSNoExecutableErr;
    if (!S_ISREG(found.st_mode))
        return kLSNoExecutableErr;
    return noErr;
}

} // namespace LinuxPlatform
