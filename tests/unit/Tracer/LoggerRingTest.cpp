#include "FaultyDisk.h"
#include "FileSystemManagement.h"
#include "Logged.h"
#include "WaitUntil.h"
#include "detail/EventCount.h"
#include "detail/FileRing.h"

#include <atomic>
#include <climits>
#include <ctime>
#include <optional>
#include <sys/stat.h>
#include <sys/time.h>
#include <thread>

using namespace kf::detail;

class LoggerRing : public Logged {
protected:
    void print(int first, int last) {
        for (int i = first; i <= last; ++i)
            m_logger.PrintString(std::to_string(i) + "\n");
    }
    /// Makes a file of the ring "log" that was last written at this day and local hour in May 2021.
    void makeFile(int index, int day, int hour, const std::string& content = "old\n") {
        writeFile(path(index), content);
        std::tm local{};
        local.tm_year = 2021 - 1900;
        local.tm_mon = 4;
        local.tm_mday = day;
        local.tm_hour = hour;
        local.tm_min = 30;
        local.tm_sec = 15;
        local.tm_isdst = -1;
        timeval times[2];
        times[0].tv_sec = times[1].tv_sec = std::mktime(&local);
        times[0].tv_usec = times[1].tv_usec = 0;
        ASSERT_EQ(utimes(path(index).c_str(), times), 0);
    }
    int lastUsedFile() {
        m_logger.SetFileName("log");
        return m_logger.FindLastUsedFile();
    }
};

// ---- names

TEST_F(LoggerRing, BareNameStandsDirectlyBehindTheFolder) {
    m_logger.SetFolderName("/some/folder");
    m_logger.SetFileName("log");
    EXPECT_EQ(logRing().getBaseFileName(), "/some/folderlog");
    EXPECT_EQ(logRing().getCurrentFileName(), "/some/folderlog_0.txt");
}

TEST_F(LoggerRing, BareNameWithoutAFolderStandsBesideTheExecutable) {
    m_logger.SetFolderName("");
    m_logger.SetFileName("log");
    EXPECT_EQ(logRing().getBaseFileName(), FileSystemManagement::getCurrentOutputDirectory() + "log");
}

TEST_F(LoggerRing, NameWithASeparatorIsAPath) {
    m_logger.SetFileName("relative/log");
    EXPECT_EQ(logRing().getBaseFileName(), "relative/log");
    m_logger.SetFileName("C:\\log");
    EXPECT_EQ(logRing().getBaseFileName(), "C:\\log");
}

TEST_F(LoggerRing, SpecialNamesLookForNoFile) {
    makeFile(0, 1, 10);
    m_logger.SetFileName("log");
    for (const std::string name : {"console", "msvc"}) {
        m_logger.SetFileName(name);
        EXPECT_EQ(logRing().getBaseFileName(), name);
        EXPECT_EQ(logRing().getCurrentFileName(), name);
    }
}

// ---- modification times

TEST_F(LoggerRing, ModificationTimesAreEightAndSixDigitsOfLocalTime) {
    makeFile(0, 7, 9);
    EXPECT_EQ(Logger::findFileDate(path(0)), "20210507");
    EXPECT_EQ(Logger::findFileTime(path(0)), "093015");
}

TEST_F(LoggerRing, ModificationTimesOfAMissingFileAreEmpty) {
    std::string date = "x";
    std::string time = "x";
    Logger::retrieveModificationInfo(path(0), date, time);
    EXPECT_EQ(date, "");
    EXPECT_EQ(time, "");
    EXPECT_EQ(Logger::findFileDate(""), "");
    EXPECT_EQ(Logger::findFileTime(""), "");
}

// ---- the file to continue

TEST_F(LoggerRing, NoFileIsContinuedWhenThereIsNoFirstOne) {
    EXPECT_EQ(lastUsedFile(), -1);
    makeFile(1, 1, 10);
    EXPECT_EQ(lastUsedFile(), -1);
}

TEST_F(LoggerRing, NewestOfARisingSeriesIsContinued) {
    makeFile(0, 1, 10);
    makeFile(1, 1, 11);
    makeFile(2, 2, 12);
    EXPECT_EQ(lastUsedFile(), 2);
}

TEST_F(LoggerRing, FilesOfTheSameSecondAreARisingSeries) {
    makeFile(0, 1, 10);
    makeFile(1, 1, 10);
    EXPECT_EQ(lastUsedFile(), 1);
}

TEST_F(LoggerRing, WalkEndsAtAnOlderFile) {
    makeFile(0, 5, 10);
    makeFile(1, 4, 11);
    makeFile(2, 6, 12);
    EXPECT_EQ(lastUsedFile(), 0);
}

TEST_F(LoggerRing, LaterDayAtAnEarlierHourDeliberatelyEndsTheWalk) {
    makeFile(0, 1, 10);
    makeFile(1, 2, 9);
    EXPECT_EQ(lastUsedFile(), 0);
}

TEST_F(LoggerRing, WholeRingMayBeInUse) {
    m_logger.setMaximumFiles(3);
    for (int i = 0; i < 3; ++i)
        makeFile(i, 1, 10 + i);
    EXPECT_EQ(lastUsedFile(), 2);
}

TEST_F(LoggerRing, FileBeyondTheRingDeliberatelyEndsTheWalk) {
    m_logger.setMaximumFiles(3);
    for (int i = 0; i < 5; ++i)
        makeFile(i, 1, 10 + i);
    EXPECT_EQ(lastUsedFile(), 2);
}

TEST_F(LoggerRing, RingWithoutFilesContinuesNone) {
    makeFile(0, 1, 10);
    m_logger.setMaximumFiles(0);
    EXPECT_EQ(lastUsedFile(), -1);
}

TEST_F(LoggerRing, NegativeMaximumIsMinusTwo) {
    makeFile(0, 1, 10);
    m_logger.setMaximumFiles(-1);
    EXPECT_EQ(lastUsedFile(), -2);
    m_logger.setMaximumFiles(INT_MIN);
    EXPECT_EQ(lastUsedFile(), -2);
}

TEST_F(LoggerRing, DanglingLinkCountsAsAFileWithoutAge) {
    ASSERT_EQ(symlink("nowhere", path(0).c_str()), 0);
    EXPECT_EQ(lastUsedFile(), 0);
    makeFile(1, 1, 10);
    EXPECT_EQ(lastUsedFile(), 1);
    ASSERT_EQ(symlink("nowhere", path(2).c_str()), 0);
    EXPECT_EQ(lastUsedFile(), 1);
}

TEST_F(LoggerRing, WithoutAFileTheFirstWriteEmptiesFileZero) {
    makeFile(0, 1, 10, "an earlier run\n");
    m_logger.setMaximumFiles(-1);
    m_logger.SetFileName("log");
    m_logger.setMaximumFiles(10);
    print(1, 1);
    m_logger.WriteOnFile();
    EXPECT_EQ(log(), "1\n");
}

TEST_F(LoggerRing, NewestFileIsContinuedBehindItsLines) {
    makeFile(0, 1, 10, "a\n");
    makeFile(1, 1, 11, "a\nb\n");
    makeFile(2, 1, 12, "a\nb\nc\n");
    m_logger.SetFileName("log");
    EXPECT_EQ(logRing().getFileIndex(), 2);
    EXPECT_EQ(logRing().getLineCount(), 3);
    print(1, 1);
    m_logger.WriteOnFile();
    EXPECT_EQ(log(2), "a\nb\nc\n1\n");
    EXPECT_EQ(log(3), "(none)");
}

TEST_F(LoggerRing, ContinuedFileKeepsToItsMaximum) {
    makeFile(0, 1, 10, "a\nb\n");
    m_logger.setMaximumLinesPerFile(3);
    m_logger.SetFileName("log");
    print(1, 2);
    m_logger.WriteOnFile();
    EXPECT_EQ(log(0), "a\nb\n1\n");
    EXPECT_EQ(log(1), "2\n");
}

TEST_F(LoggerRing, LastLineWithoutALineFeedIsCounted) {
    makeFile(0, 1, 10, "a\nb\nhalf");
    m_logger.SetFileName("log");
    EXPECT_EQ(logRing().getLineCount(), 3);
}

TEST_F(LoggerRing, LongFilesAreCounted) {
    std::string content;
    for (int i = 0; i < 30000; ++i)
        content += "line " + std::to_string(i) + "\n";
    makeFile(0, 1, 10, content);
    m_logger.SetFileName("log");
    EXPECT_EQ(logRing().getLineCount(), 30000);
}

TEST_F(LoggerRing, FileThatCannotBeReadHasNoLines) {
    ASSERT_EQ(symlink("nowhere", path(0).c_str()), 0);
    m_logger.SetFileName("log");
    EXPECT_EQ(logRing().getFileIndex(), 0);
    EXPECT_EQ(logRing().getLineCount(), 0);
}

// ---- writing

TEST_F(LoggerRing, DirectWritingWritesEachLineAtOnce) {
    m_logger.SetFileName("log");
    print(1, 1);
    EXPECT_EQ(log(), "(none)");
    m_logger.setDirectWrite(true);
    print(2, 2);
    EXPECT_EQ(log(), "1\n2\n");
}

TEST_F(LoggerRing, FullFilesAreFollowedByTheNext) {
    m_logger.setMaximumLinesPerFile(3);
    m_logger.SetFileName("log");
    print(1, 7);
    m_logger.WriteOnFile();
    EXPECT_EQ(log(0), "1\n2\n3\n");
    EXPECT_EQ(log(1), "4\n5\n6\n");
    EXPECT_EQ(log(2), "7\n");
}

TEST_F(LoggerRing, NextDrainDeliberatelyEmptiesTheFileARotationBegan) {
    m_logger.setMaximumLinesPerFile(3);
    m_logger.SetFileName("log");
    print(1, 7);
    m_logger.WriteOnFile();
    print(8, 8);
    m_logger.WriteOnFile();
    EXPECT_EQ(log(2), "8\n");
}

TEST_F(LoggerRing, FileThatARotationBeginsIsAppendedTo) {
    makeFile(0, 5, 10, "a\n");
    makeFile(1, 4, 10, "older\n");
    m_logger.setMaximumLinesPerFile(2);
    m_logger.SetFileName("log");
    print(1, 2);
    m_logger.WriteOnFile();
    EXPECT_EQ(log(0), "a\n1\n");
    EXPECT_EQ(log(1), "older\n2\n");
}

TEST_F(LoggerRing, UpdatingTheFileNameDoesNotHaveTheFileEmptied) {
    m_logger.SetFileName("log");
    print(1, 1);
    m_logger.WriteOnFile();
    m_logger.UpdateFileName();
    print(2, 2);
    m_logger.WriteOnFile();
    EXPECT_EQ(log(), "1\n2\n");
}

TEST_F(LoggerRing, FileZeroFollowsTheLastOfTheRing) {
    for (int i = 0; i < 10; ++i)
        makeFile(i, 1, 10 + i, "a\n");
    m_logger.setMaximumLinesPerFile(2);
    m_logger.SetFileName("log");
    EXPECT_EQ(logRing().getFileIndex(), 9);
    print(1, 1);
    m_logger.WriteOnFile();
    EXPECT_EQ(logRing().getFileIndex(), 0);
    EXPECT_EQ(log(10), "(none)");
    print(2, 2);
    m_logger.WriteOnFile();
    EXPECT_EQ(log(0), "2\n");
}

TEST_F(LoggerRing, UselessMaximaNeitherCrashNorLoop) {
    for (const int files : {0, -1, INT_MIN, 1}) {
        for (const int lines : {0, -1, INT_MIN, 1}) {
            Logger logger;
            logger.setMaximumFiles(files);
            logger.setMaximumLinesPerFile(lines);
            logger.SetFileName(m_folder / "useless");
            for (int i = 0; i < 10; ++i)
                logger.PrintString("x\n");
            logger.FinishLogging();
            EXPECT_TRUE(logger.areAllMsgFlushed());
        }
    }
    EXPECT_NE(access((m_folder / "useless_1.txt").c_str(), F_OK), 0);
}

// ---- failures

TEST_F(LoggerRing, FailedOpenDeliberatelyKeepsTheLock) {
    const std::string folder = m_folder / "later";
    m_logger.SetFileName(folder + "/log");
    print(1, 1);
    testing::internal::CaptureStderr();
    m_logger.WriteOnFile();
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "Logger : can't open " + folder + "/log_0.txt\n");
    const auto isFreeForOthers = [this] {
        bool free = false;
        std::thread([&] {
            if (m_logger.getLock().tryacquire()) {
                free = true;
                m_logger.getLock().release();
            }
        }).join();
        return free;
    };
    EXPECT_FALSE(isFreeForOthers());
    // The thread that holds it can still log.
    ASSERT_EQ(mkdir(folder.c_str(), 0777), 0);
    print(2, 2);
    m_logger.WriteOnFile();
    EXPECT_EQ(readFile(folder + "/log_0.txt"), "1\n2\n");
    EXPECT_FALSE(isFreeForOthers());
}

TEST_F(LoggerRing, AContinuedFileKeepsItsLinesThoughANewOneHadBeenNamedBefore) {
    writeFile(path(0), "1\n");
    m_logger.SetFileName(m_folder / "other");
    m_logger.SetFileName(m_folder / "log");
    print(2, 2);
    m_logger.WriteOnFile();
    EXPECT_EQ(readFile(path(0)), "1\n2\n");
}

TEST_F(LoggerRing, LinesStayQueuedAndTheLockIsFreeWhenTheNextFileCannotBeOpened) {
    ASSERT_EQ(mkdir(path(1).c_str(), 0777), 0);
    m_logger.setMaximumLinesPerFile(2);
    m_logger.SetFileName("log");
    print(1, 5);
    testing::internal::CaptureStderr();
    m_logger.WriteOnFile();
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "Logger : can't open " + path(1) + "\n");
    std::thread([&] {
        const bool free = m_logger.getLock().tryacquire();
        EXPECT_TRUE(free);
        if (free)
            m_logger.getLock().release();
    }).join();
    EXPECT_EQ(log(0), "1\n2\n");
    ASSERT_EQ(rmdir(path(1).c_str()), 0);
    m_logger.WriteOnFile();
    EXPECT_EQ(log(1) + log(2), "3\n4\n5\n");
}

TEST_F(LoggerRing, FullDiskLosesNoLine) {
    m_logger.setMaximumFiles(-1);
    m_logger.SetFileName("log");
    print(1, 3);
    {
        const FaultyDisk disk(path(0), FaultyDisk::Fault::IsFull);
        m_logger.WriteOnFile();
        m_logger.FinishLogging();
        EXPECT_FALSE(m_logger.areAllMsgFlushed());
    }
    m_logger.WriteOnFile();
    EXPECT_EQ(log(), "1\n2\n3\n");
}

TEST_F(LoggerRing, FinishingWritesWhatWaitsAndDiscardsNoneOfItForALineThatComesMeanwhile) {
    EventCount work;
    FileRing ring("Ring", true, work);
    ring.setMaximumLinesPerFile(2);
    ring.setBaseName(m_folder / "log");
    ring.beginAnew();
    for (int line = 1; line <= 5; ++line)
        ring.put(std::to_string(line) + "\n");
    ring.drainAll([&ring] {
        ring.drain();
        ring.put("meanwhile\n"); // one more drain would empty the file that this one ended with
    });
    EXPECT_EQ(log(0) + log(1) + log(2), "1\n2\n3\n4\n5\n");
    EXPECT_EQ(ring.waiting(), 1U);
}

TEST_F(LoggerRing, PlacesThatAreForgottenDuringADrainDoNotHoldItUp) {
    EventCount work;
    FileRing ring("Ring", true, work);
    ring.setBaseName(m_folder / "log");
    ring.beginAnew();
    ring.put("first\n");
    std::atomic<bool> isOver(false);
    std::thread forgetful([&] {
        while (!isOver)
            if (const LineQueue::Slot slot = ring.reserve(3))
                slot.cancel();
    });
    std::string expected = "first\n";
    for (int line = 0; line < 2000; ++line) {
        ring.put(std::to_string(line) + "\n");
        EXPECT_EQ(ring.drain(), FileRing::Drain::Done);
        expected += std::to_string(line) + "\n";
    }
    isOver = true;
    forgetful.join();
    ring.drain();
    EXPECT_EQ(log(), expected);
}

TEST_F(LoggerRing, ThreadsThatLogDoNotWaitForTheDisk) {
    m_logger.SetFileName("log");
    const std::string line(999, 'x');
    std::string expected;
    for (int lines = 0; lines < 200; ++lines) { // more than the queue's first chunk holds
        m_logger.PrintString(line + "\n");
        expected += line + "\n";
    }
    std::optional<FaultyDisk> disk(std::in_place, path(0), FaultyDisk::Fault::Hangs);
    std::thread drain([this] { m_logger.WriteOnFile(); });
    EXPECT_TRUE(waitUntil([&] { return disk->wasMet(); }));
    std::atomic<bool> isQueued{false};
    std::thread worker([&] {
        m_logger.PrintMsg(MSG_ERROR, "meanwhile");
        isQueued = true;
    });
    EXPECT_TRUE(waitUntil([&] { return isQueued.load(); }));
    disk.reset();
    drain.join();
    worker.join();
    EXPECT_TRUE(log() == expected) << "what came meanwhile is for the next drain";
    m_logger.WriteOnFile();
    EXPECT_TRUE(log() == expected + "[ERROR  ] meanwhile\n");
}
