// Opens one bundle, as the product does: SampleLauncher <bundle>. Ends with status 0 when that worked.

#include <CoreServices/CoreServices.h>
#include <sys/stat.h>

int main(int argc, char** argv) {
    if (argc != 2)
        return 2;
    umask(0);
    FSRef bundle;
    if (FSPathMakeRef(reinterpret_cast<const UInt8*>(argv[1]), &bundle, nullptr) != noErr)
        return 3;
    LSApplicationParameters parameters = {};
    parameters.flags = kLSLaunchDefaults;
    parameters.application = &bundle;
    return LSOpenApplication(&parameters, nullptr) == noErr ? 0 : 4;
}
