#include "CoreServices/LaunchStatus.h"

#include "TemporaryFolder.h"
#include "TextFile.h"

#include <cerrno>
#include <gtest/gtest.h>

using LinuxPlatform::statusOfFailedStart;

TEST(LaunchStatus, WhatTheSystemCannotRunHasTheWrongFormat) {
    EXPECT_EQ(statusOfFailedStart(ENOEXEC, "/program"), kLSExecutableIncorrectFormat);
    EXPECT_EQ(statusOfFailedStart(ELIBBAD, "/program"), kLSExecutableIncorrectFormat);
}

TEST(LaunchStatus, WhatMayNotBeRunHasNoPermission) {
    EXPECT_EQ(statusOfFailedStart(EACCES, "/program"), kLSNoLaunchPermissionErr);
    EXPECT_EQ(statusOfFailedStart(EPERM, "/program"), kLSNoLaunchPermissionErr);
}

TEST(LaunchStatus, OnlyAFileThatIsThereLacksItsInterpreter) {
    const TemporaryFolder folder;
    writeFile(folder / "program", "#!/missing/interpreter\n");
    for (const int error : {ENOENT, ENOTDIR}) {
        EXPECT_EQ(statusOfFailedStart(error, folder / "program"), kLSExecutableIncorrectFormat);
        EXPECT_EQ(statusOfFailedStart(error, folder / "gone"), kLSNoExecutableErr);
    }
}

TEST(LaunchStatus, WantOfMemoryOrProcessesIsWantOfMemory) {
    EXPECT_EQ(statusOfFailedStart(ENOMEM, "/program"), memFullErr);
    EXPECT_EQ(statusOfFailedStart(EAGAIN, "/program"), memFullErr);
}

TEST(LaunchStatus, WantOfDescriptorsIsTooManyFiles) {
    EXPECT_EQ(statusOfFailedStart(EMFILE, "/program"), tmfoErr);
    EXPECT_EQ(statusOfFailedStart(ENFILE, "/program"), tmfoErr);
}

TEST(LaunchStatus, OtherErrorsOfTheFileHaveTheirOwn) {
    EXPECT_EQ(statusOfFailedStart(ETXTBSY, "/program"), opWrErr);
    EXPECT_EQ(statusOfFailedStart(EIO, "/program"), ioErr);
}

TEST(LaunchStatus, WhatHasNoneIsUnknown) {
    EXPECT_EQ(statusOfFailedStart(E2BIG, "/program"), kLSUnknownErr);
    EXPECT_EQ(statusOfFailedStart(ECHILD, "/program"), kLSUnknownErr);
}
