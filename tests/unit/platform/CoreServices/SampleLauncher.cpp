// Opens one bundle, as the product does: SampleLauncher <bundle> [<lifeline>]. Exits with status 0 if that
// worked. With a lifeline, a pipe, it exits when no process has that open for writing any more, or after 5
// minutes.

#include <CoreServices/CoreServices.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

int main(int argc, char** argv) {
    if (argc != 2 && argc != 3)
        return 2;
    umask(0);
    FSRef bundle;
    if (FSPathMakeRef(reinterpret_cast<const UInt8*>(argv[1]), &bundle, nullptr) != noErr)
        return 3;
    LSApplicationParameters parameters = {};
    parameters.flags = kLSLaunchDefaults;
    parameters.application = &bundle;
    const bool isOpen = LSOpenApplication(&parameters, nullptr) == noErr;
    if (argc == 3) {
        alarm(300);
        char byte;
        const int lifeline = open(argv[2], O_RDONLY | O_CLOEXEC);
        while (read(lifeline, &byte, 1) > 0) {
        }
    }
    return isOpen ? 0 : 4;
}
