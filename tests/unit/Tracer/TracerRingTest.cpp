#include "CallMarker.h"
#include "ChildProcess.h"
#include "FaultyDisk.h"
#include "FileSystemManagement.h"
#include "Traced.h"
#include "Tracer.h"
#include "detail/FileRing.h"

#include <climits>
#include <csignal>
#include <sys/resource.h>
#include <sys/stat.h>
#include <thread>

using namespace kf::detail;

class TracerRing : public Traced {
protected:
    void print(int first, int last) {
        for (int i = first; i <= last; ++i)
            m_tracer.PrintString(std::to_string(i) + "\n");
    }
};

// ---- names

TEST_F(TracerRing, BareNameStandsDirectlyBehindTheFolder) {
    m_tracer.SetFolderName("/some/folder");
    m_tracer.SetFileName("trace");
    EXPECT_EQ(ring().getBaseFileName(), "/some/foldertrace");
    EXPECT_EQ(ring().getCurrentFileName(), "/some/foldertrace_0.txt");
}

TEST_F(TracerRing, BareNameWithoutAFolderStandsBesideTheExecutable) {
    m_tracer.SetFolderName("");
    m_tracer.SetFileName("trace");
    EXPECT_EQ(ring().getBaseFileName(), FileSystemManagement::getCurrentOutputDirectory() + "trace");
}

TEST_F(TracerRing, NameWithASeparatorIsAPath) {
    m_tracer.SetFileName("relative/trace");
    EXPECT_EQ(ring().getBaseFileName(), "relative/trace");
    m_tracer.SetFileName("C:\\trace");
    EXPECT_EQ(ring().getBaseFileName(), "C:\\trace");
}

TEST_F(TracerRing, SpecialNamesStandForThemselves) {
    for (const std::string name : {"console", "msvc"}) {
        m_tracer.SetFileName(name);
        EXPECT_EQ(ring().getBaseFileName(), name);
        EXPECT_EQ(ring().getCurrentFileName(), name);
    }
}

TEST_F(TracerRing, SpecialNamesAreWholeNames) {
    m_tracer.SetFileName("console2");
    EXPECT_EQ(ring().getCurrentFileName(), m_folder / "console2_0.txt");
}

// ---- writing

TEST_F(TracerRing, TheMaskDecidesWhoMayReadAndWriteAFileAndNobodyRunsIt) {
    const mode_t before = umask(0);
    for (const mode_t mask : {0u, 027u}) {
        umask(mask);
        m_tracer.SetFileName("mask" + std::to_string(mask));
        m_tracer.PrintString("a line\n");
        m_tracer.WriteOnFile();
        struct stat info = {};
        EXPECT_EQ(stat(ring().getCurrentFileName().c_str(), &info), 0);
        EXPECT_EQ(info.st_mode & 07777, 0666 & ~mask);
    }
    umask(before);
}

TEST_F(TracerRing, LinesWaitForADrain) {
    m_tracer.SetFileName("trace");
    print(1, 3);
    EXPECT_EQ(file(), "(none)");
    m_tracer.WriteOnFile();
    EXPECT_EQ(file(), "1\n2\n3\n");
    print(4, 4);
    m_tracer.WriteOnFile();
    EXPECT_EQ(file(), "1\n2\n3\n4\n");
}

TEST_F(TracerRing, DirectWritingWritesEachLineAtOnce) {
    m_tracer.SetFileName("trace");
    m_tracer.setDirectWrite(true);
    print(1, 1);
    EXPECT_EQ(file(), "1\n");
    print(2, 2);
    EXPECT_EQ(file(), "1\n2\n");
}

TEST_F(TracerRing, SwitchingToDirectWritingWritesTheQueueWithTheNextLine) {
    m_tracer.SetFileName("trace");
    print(1, 2);
    m_tracer.setDirectWrite(true);
    print(3, 3);
    EXPECT_EQ(file(), "1\n2\n3\n");
}

TEST_F(TracerRing, FirstWriteOfARunEmptiesTheFileOfAnEarlierRun) {
    writeFile(m_folder / "trace_0.txt", "an earlier run\n");
    writeFile(m_folder / "trace_1.txt", "an earlier run\n");
    m_tracer.SetFileName("trace");
    EXPECT_EQ(file(), "an earlier run\n");
    print(1, 1);
    m_tracer.WriteOnFile();
    EXPECT_EQ(file(), "1\n");
    EXPECT_EQ(file(1), "an earlier run\n");
}

TEST_F(TracerRing, UpdatingTheFileNameHasTheFileEmptied) {
    m_tracer.SetFileName("trace");
    print(1, 1);
    m_tracer.WriteOnFile();
    m_tracer.UpdateFileName();
    print(2, 2);
    m_tracer.WriteOnFile();
    EXPECT_EQ(file(), "2\n");
}

TEST_F(TracerRing, FullFilesAreFollowedByTheNext) {
    m_tracer.setMaximumLinesPerFile(2);
    m_tracer.SetFileName("trace");
    print(1, 5);
    m_tracer.WriteOnFile();
    EXPECT_EQ(file(0), "1\n2\n");
    EXPECT_EQ(file(1), "3\n4\n");
    EXPECT_EQ(file(2), "5\n");
    EXPECT_EQ(ring().getLineCount(), 1);
}

TEST_F(TracerRing, NextDrainDeliberatelyEmptiesTheFileARotationBegan) {
    m_tracer.setMaximumLinesPerFile(2);
    m_tracer.SetFileName("trace");
    print(1, 5);
    m_tracer.WriteOnFile();
    print(6, 6);
    m_tracer.WriteOnFile();
    EXPECT_EQ(file(2), "6\n");
}

TEST_F(TracerRing, NextDrainEmptiesTheFileARotationBeganAlsoWithoutALine) {
    m_tracer.setMaximumLinesPerFile(2);
    m_tracer.SetFileName("trace");
    print(1, 3);
    m_tracer.WriteOnFile();
    EXPECT_EQ(file(1), "3\n");
    m_tracer.WriteOnFile();
    EXPECT_EQ(file(1), "");
}

TEST_F(TracerRing, FileThatARotationBeginsIsAppendedTo) {
    writeFile(m_folder / "trace_1.txt", "an earlier run\n");
    m_tracer.setMaximumLinesPerFile(2);
    m_tracer.SetFileName("trace");
    print(1, 3);
    m_tracer.WriteOnFile();
    EXPECT_EQ(file(1), "an earlier run\n3\n");
}

TEST_F(TracerRing, RingBeginsAgainAtItsMaximum) {
    m_tracer.setMaximumLinesPerFile(1);
    m_tracer.setMaximumFiles(3);
    m_tracer.SetFileName("trace");
    print(1, 1);
    m_tracer.WriteOnFile();
    EXPECT_EQ(ring().getFileIndex(), 1);
    print(2, 2);
    m_tracer.WriteOnFile();
    EXPECT_EQ(ring().getFileIndex(), 2);
    print(3, 3);
    m_tracer.WriteOnFile();
    EXPECT_EQ(ring().getFileIndex(), 0);
    print(4, 4);
    m_tracer.WriteOnFile();
    EXPECT_EQ(file(0), "4\n");
    EXPECT_EQ(file(3), "(none)");
}

TEST_F(TracerRing, UselessMaximaNeitherCrashNorLoop) {
    for (const int files : {0, -1, INT_MIN, 1}) {
        for (const int lines : {0, -1, INT_MIN, 1}) {
            Tracer tracer;
            tracer.SetFileName(m_folder / "useless");
            tracer.setMaximumFiles(files);
            tracer.setMaximumLinesPerFile(lines);
            for (int i = 0; i < 10; ++i)
                tracer.PrintString("x\n");
            tracer.FinishTracing();
            const KFLock lock(tracer.getLock());
            EXPECT_EQ(tracer.getFileRing().waiting(), 0U);
            EXPECT_EQ(tracer.getFileRing().getFileIndex(), 0);
        }
    }
    EXPECT_NE(access((m_folder / "useless_1.txt").c_str(), F_OK), 0);
}

TEST_F(TracerRing, LargestMaximaWork) {
    m_tracer.setMaximumFiles(INT_MAX);
    m_tracer.setMaximumLinesPerFile(INT_MAX);
    m_tracer.SetFileName("trace");
    print(1, 3);
    m_tracer.WriteOnFile();
    EXPECT_EQ(file(), "1\n2\n3\n");
}

// ---- failures

TEST_F(TracerRing, LinesStayQueuedWhileTheFileCannotBeOpened) {
    const std::string folder = m_folder / "later";
    m_tracer.SetFileName(folder + "/trace");
    print(1, 2);
    testing::internal::CaptureStderr();
    m_tracer.WriteOnFile();
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "Tracer : can't open " + folder + "/trace_0.txt\n");
    ASSERT_EQ(mkdir(folder.c_str(), 0777), 0);
    print(3, 3);
    m_tracer.WriteOnFile();
    EXPECT_EQ(readFile(folder + "/trace_0.txt"), "1\n2\n3\n");
}

TEST_F(TracerRing, FailedOpenReleasesTheLock) {
    m_tracer.SetFileName(m_folder / "missing/trace");
    testing::internal::CaptureStderr();
    m_tracer.WriteOnFile();
    testing::internal::GetCapturedStderr();
    bool free = false;
    std::thread([&] {
        if (m_tracer.getLock().tryacquire()) {
            free = true;
            m_tracer.getLock().release();
        }
    }).join();
    EXPECT_TRUE(free);
}

TEST_F(TracerRing, MarkToEmptyTheFileIsGoneAlsoWhenItCouldNotBeOpened) {
    const std::string folder = m_folder / "later";
    m_tracer.SetFileName(folder + "/trace");
    testing::internal::CaptureStderr();
    m_tracer.WriteOnFile();
    testing::internal::GetCapturedStderr();
    ASSERT_EQ(mkdir(folder.c_str(), 0777), 0);
    writeFile(folder + "/trace_0.txt", "an earlier run\n");
    print(1, 1);
    m_tracer.WriteOnFile();
    EXPECT_EQ(readFile(folder + "/trace_0.txt"), "an earlier run\n1\n");
}

TEST_F(TracerRing, LinesStayQueuedWhenTheNextFileCannotBeOpened) {
    ASSERT_EQ(mkdir((m_folder / "trace_1.txt").c_str(), 0777), 0);
    m_tracer.setMaximumLinesPerFile(2);
    m_tracer.SetFileName("trace");
    print(1, 5);
    testing::internal::CaptureStderr();
    m_tracer.WriteOnFile();
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "Tracer : can't open " + (m_folder / "trace_1.txt") + "\n");
    EXPECT_EQ(file(), "1\n2\n");
    EXPECT_EQ(ring().waiting(), 3U);
    ASSERT_EQ(rmdir((m_folder / "trace_1.txt").c_str()), 0);
    m_tracer.WriteOnFile();
    EXPECT_EQ(file(1) + file(2), "3\n4\n5\n");
}

TEST_F(TracerRing, FullDiskLosesNoLine) {
    m_tracer.SetFileName("trace");
    print(1, 3);
    {
        const FaultyDisk disk(m_folder / "trace_0.txt", FaultyDisk::Fault::IsFull);
        m_tracer.WriteOnFile();
        EXPECT_EQ(ring().waiting(), 3U);
        m_tracer.FinishTracing();
        EXPECT_EQ(ring().waiting(), 3U);
    }
    m_tracer.WriteOnFile();
    EXPECT_EQ(file(), "1\n2\n3\n");
}

TEST_F(TracerRing, AnEmptyLineCountsAsOne) {
    m_tracer.setMaximumLinesPerFile(1);
    m_tracer.SetFileName("trace");
    m_tracer.PrintString("1\n");
    m_tracer.PrintString("");
    m_tracer.PrintString("3\n");
    m_tracer.WriteOnFile();
    EXPECT_EQ(file(0), "1\n");
    EXPECT_EQ(file(1), "");
    EXPECT_EQ(file(2), "3\n");
    EXPECT_EQ(ring().getFileIndex(), 3);
}

// The next drain empties the file that a rotation has begun, so it must write the line from its beginning.
TEST_F(TracerRing, FullDiskInTheMiddleOfARotationLeavesNoHalfLine) {
    const std::string longLine(99, 'x');
    const ChildResult result = runInChild([&] {
        signal(SIGXFSZ, SIG_IGN);
        const rlimit full = {50, RLIM_INFINITY}; // room for the short lines, and for a part of the long one
        const rlimit free = {RLIM_INFINITY, RLIM_INFINITY};
        m_tracer.setMaximumLinesPerFile(2);
        m_tracer.SetFileName("trace");
        print(1, 2);
        m_tracer.PrintString(longLine + "\n");
        if (setrlimit(RLIMIT_FSIZE, &full) != 0)
            _exit(1);
        m_tracer.WriteOnFile();
        if (file(1) != longLine.substr(0, 50) || setrlimit(RLIMIT_FSIZE, &free) != 0)
            _exit(2);
        m_tracer.WriteOnFile();
    });
    EXPECT_EQ(result.exitStatus, 0);
    EXPECT_EQ(file(0), "1\n2\n");
    EXPECT_EQ(file(1), longLine + "\n");
}

TEST_F(TracerRing, FileIsClosedAfterEveryDrain) {
    const ChildResult result = runInChild([this] {
        m_tracer.SetFileName("trace");
        print(1, 1);
        const int before = dup(0);
        close(before);
        m_tracer.WriteOnFile();
        const int after = dup(0);
        _exit(before == after ? 0 : 2);
    });
    EXPECT_EQ(result.exitStatus, 0);
}
