#include "BundleTest.h"

#include "CoreServices/ProcessFolder.h"

using LinuxPlatform::LaunchNote;
using LinuxPlatform::ProcessFolder;

class ProcessFolderFiles : public BundleTest {
protected:
    ProcessFolderFiles() {
        makeFolders(inRoot("/processes/77"));
        LinuxPlatform::setProcessesFolder(inRoot("/processes"));
    }
    ~ProcessFolderFiles() override { LinuxPlatform::setProcessesFolder("/proc"); }

    /// The note in an environment of these entries.
    LaunchNote noteIn(const std::vector<std::string>& entries) const {
        std::string environment;
        for (const std::string& entry : entries)
            environment.append(entry).push_back('\0');
        writeFile(inRoot("/processes/77/environ"), environment);
        LaunchNote note;
        EXPECT_EQ(ProcessFolder(77).readLaunchNote(note), 0);
        return note;
    }
};

TEST_F(ProcessFolderFiles, ALaunchNoteIsFoundWhereverItStands) {
    for (const std::vector<std::string>& entries :
         {std::vector<std::string>{"PLATFORM_LAUNCHED=0000000077:/A.app", "HOME=/"},
          {"HOME=/", "PLATFORM_LAUNCHED=0000000077:/A.app"},
          {"HOME=/", "PLATFORM_LAUNCHED=0000000077:/A.app", "LANG=C", "PATH=/bin"}}) {
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
