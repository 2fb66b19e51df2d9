#include "CoreServices/LaunchStatus.h"

#include "TemporaryFolder.h"
#include "TextFile.h"

#include <cerrno>
#include <gtest/gtest.h>

using LinuxPlatform::statusOfFailedStart;

TEST(LaunchStatus, WhatTheSystemCannotRunHasTheWrongFormat) {
    EXPECT_EQ(kLSExecutableIncorrectFormat, statusOfFailedStart(ENOEXEC, "/program"));
    EXPECT_EQ(kLSExecutableIncorrectFormat, statusOfFailedStart(ELIBBAD, "/program"));
}

TEST(LaunchStatus, WhatMayNotBeRunHasNoPermission) {
    EXPECT_EQ(kLSNoLaunchPermissionErr, statusOfFailedStart(EACCES, "/program"));
    EXPECT_EQ(kLSNoLaunchPermissionErr, statusOfFailedStart(EPERM, "/program"));
}

TEST(LaunchStatus, OnlyAFileThatIsThereLacksItsInterpreter) {
    const TemporaryFolder folder;
    writeFile(folder / "program", "#!/missing/interpreter\n");
    for (const int error : {ENOENT, ENOTDIR}) {
        EXPECT_EQ(kLSExecutableIncorrectFormat, statusOfFailedStart(error, folder / "program"));
        EXPECT_EQ(kLSNoExecutableErr, statusOfFailedStart(error, folder / "gone"));
    }
}

TEST(LaunchStatus, WantOfMemoryOrProcessesIsWantOfMemory) {
    EXPECT_EQ(memFullErr, statusOfFailedStart(ENOMEM, "/program"));
    EXPECT_EQ(memFullErr, statusOfFailedStart(EAGAIN, "/program"));
}

TEST(LaunchStatus, WantOfDescriptorsIsTooManyFiles) {
    EXPECT_EQ(tmfoErr, statusOfFailedStart(EMFILE, "/program"));
    EXPECT_EQ(tmfoErr, statusOfFailedStart(ENFILE, "/program"));
}

TEST(LaunchStatus, OtherErrorsOfTheFileHaveTheirOwn) {
    EXPECT_EQ(opWrErr, statusOfFailedStart(ETXTBSY, "/program"));
    EXPECT_EQ(ioErr, statusOfFailedStart(EIO, "/program"));
}

TEST(LaunchStatus, WhatHasNoneIsUnknown) {
    EXPECT_EQ(kLSUnknownErr, statusOfFailedStart(E2BIG, "/program"));
    EXPECT_EQ(kLSUnknownErr, statusOfFailedStart(ECHILD, "/program"));
}
