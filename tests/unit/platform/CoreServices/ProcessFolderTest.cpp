#include "BundleTest.h"

#include "CoreServices/ProcessFolder.h"
#include "CoreServices/StartedApplications.h"

#include <sys/wait.h>
#include <unistd.h>

using LinuxPlatform::LaunchNote;
using LinuxPlatform::ProcessFolder;

class ProcessFolderFiles : public BundleTest {
protected:
    ProcessFolderFiles() {
        makeFolders(inRoot("/processes/77"));
        LinuxPlatform::setProcessesFolder(inRoot("/processes"));
    }
    ~ProcessFolderFiles() override { LinuxPlatform::setProcessesFolder("/proc"); }

    /// The launch note that is read from an environment of these entries.
    LaunchNote noteIn(const std::vector<std::string>& entries) const {
        std::string environment;
        for (const std::string& entry : entries)
            environment.append(entry).push_back('\0');
        writeFile(inRoot("/processes/77/environ"), environment);
        LaunchNote note;
        EXPECT_EQ(ProcessFolder(77).readLaunchNote(note), 0);
        return note;
    }

    void writeStatus(char state, int startTime, const std::string& name = "a") const {
        writeFile(inRoot("/processes/77/stat"), "77 (" + name + ") " + state +
                                                    " 4 5 6 7 8 9 10 11 12 13 14 15 16 17 18 19 20 21 " +
                                                    std::to_string(startTime) + " 23\n");
    }
};

TEST_F(ProcessFolderFiles, ALaunchNoteIsFoundWhereverItStands) {
    for (const std::vector<std::string>& entries :
         {std::vector<std::string>{"PLATFORM_LAUNCHED=0000000077:/A.app", "HOME=/"},
          {"HOME=/", "PLATFORM_LAUNCHED=0000000077:/A.app"},
          {"HOME=/", "PLATFORM_LAUNCHED=0000000077:/A.app", "LANG=C", "PATH=/bin"},
          {"LONG=" + std::string(10000, 'x'), "PLATFORM_LAUNCHED=0000000077:/A.app"}}) {
        const LaunchNote note = noteIn(entries);
        EXPECT_EQ(note.pid, 77);
        EXPECT_EQ(note.bundle, "/A.app");
    }
}

TEST_F(ProcessFolderFiles, WhatOnlyHoldsItsNameIsNoLaunchNote) {
    for (const char* entry : {"MY_PLATFORM_LAUNCHED=77:/A.app", "HOME=PLATFORM_LAUNCHED=77:/A.app"}) {
        EXPECT_EQ(noteIn({entry}).pid, 0) << entry;
        EXPECT_EQ(noteIn({entry}).bundle, "") << entry;
    }
}

TEST_F(ProcessFolderFiles, ALaunchNoteWithoutAColonNamesNoBundle) {
    EXPECT_EQ(noteIn({"PLATFORM_LAUNCHED=77/A.app"}).bundle, "");
}

TEST_F(ProcessFolderFiles, WithoutALaunchNoteThatOfAnEarlierReadIsGone) {
    writeFile(inRoot("/processes/77/environ"), "HOME=/");
    LaunchNote note = {4711, "/A.app"};
    EXPECT_EQ(ProcessFolder(77).readLaunchNote(note), 0);
    EXPECT_EQ(note.pid, 0);
    EXPECT_EQ(note.bundle, "");
}

TEST_F(ProcessFolderFiles, AStatusTellsNameStateAndStartTimeWhateverTheName) {
    for (const std::string name : {"plain", "two words", "a) R (b", ")"}) {
        writeStatus('Z', 4711, name);
        LinuxPlatform::ProcessStatus status;
        EXPECT_EQ(ProcessFolder(77).readStatus(status), 0);
        EXPECT_EQ(status.name, name);
        EXPECT_EQ(status.state, 'Z');
        EXPECT_TRUE(status.hasEnded());
        EXPECT_EQ(status.startTime, 4711u);
    }
}

TEST_F(ProcessFolderFiles, AStatusThatEndsWithTheNameTellsNothing) {
    writeFile(inRoot("/processes/77/stat"), "77 (a)");
    LinuxPlatform::ProcessStatus status;
    EXPECT_EQ(ProcessFolder(77).readStatus(status), 0);
    EXPECT_EQ(status.name, "");
    EXPECT_EQ(status.startTime, 0u);
}

TEST_F(ProcessFolderFiles, ShowTheEndOfAStartedApplicationWithoutADescriptor) {
    LinuxPlatform::StartedApplications applications;
    applications.useDescriptors(false);
    applications.add({77, 4711, "/A.app", "/A.app/a", true});
    const auto runs = [&applications] {
        LinuxPlatform::RunningApplication application;
        bool isOne = false;
        EXPECT_EQ(applications.find(77, application, isOne), 0);
        return isOne;
    };
    writeStatus('S', 4711);
    EXPECT_TRUE(runs());
    writeStatus('Z', 4711);
    EXPECT_FALSE(runs());
    writeStatus('S', 4712); // another process has its id
    EXPECT_FALSE(runs());
}

TEST_F(ProcessFolderFiles, ThatAreHiddenLeaveItToTheKernelWhetherAStartedApplicationRuns) {
    LinuxPlatform::StartedApplications applications;
    applications.useDescriptors(false);
    const pid_t ended = fork();
    if (ended == 0)
        _exit(0);
    ASSERT_EQ(waitpid(ended, nullptr, 0), ended);
    for (const pid_t pid : {getpid(), ended})
        applications.add({pid, 4711, "/A.app", "/A.app/a", true});
    LinuxPlatform::RunningApplication application;
    bool isOne = false;
    EXPECT_EQ(applications.find(getpid(), application, isOne), 0);
    EXPECT_TRUE(isOne);
    EXPECT_EQ(applications.find(ended, application, isOne), 0);
    EXPECT_FALSE(isOne);
}

// Otherwise a list of processes would fail whenever one ends meanwhile.
TEST_F(ProcessFolderFiles, ThoseOfOneThatHasEndedLackNothing) {
    const ProcessFolder process(78);
    LinuxPlatform::ProcessStatus status;
    EXPECT_EQ(process.readStatus(status), 0);
    EXPECT_EQ(status.startTime, 0u);
    std::vector<std::string> arguments;
    EXPECT_EQ(process.readArguments(1, arguments), 0);
    EXPECT_THAT(arguments, testing::IsEmpty());
    LaunchNote note;
    EXPECT_EQ(process.readLaunchNote(note), 0);
    EXPECT_EQ(note.bundle, "");
    uid_t user = 0;
    EXPECT_EQ(process.readUser(user), 0);
    EXPECT_EQ(user, static_cast<uid_t>(-1));
}
