#include "Ring.h"

#include "TraceFiles.h"

#include <gmock/gmock.h>

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using Zevo::findRings;
using Zevo::Ring;

namespace {

class RingTest : public ::testing::Test {
protected:
    /// The folder's only ring.
    Ring ring() {
        std::vector<Ring> rings = findRings({m_files.path()}, m_notes);
        EXPECT_EQ(rings.size(), 1u);
        return rings.empty() ? Ring() : rings[0];
    }
    static std::vector<long> indicesOf(const Ring& ring) {
        std::vector<long> result;
        for (const Zevo::RingFile& file : ring.files)
            result.push_back(file.index);
        return result;
    }
    static std::vector<long> startsOf(const Ring& ring) {
        std::vector<long> result;
        for (const Zevo::RingFile& file : ring.files)
            if (file.beginsRun)
                result.push_back(file.index);
        return result;
    }
    /// Writes a file of the ring with one line, which was written just before the file's last change.
    void write(int index, int hour, int minute, int thread = 7) {
        char time[32];
        std::snprintf(time, sizeof time, "%02d:%02d:00-000", hour, minute);
        m_files.write("trace_" + std::to_string(index) + ".txt", traceLine(time, "call", thread),
                      at(hour, minute, 0.5));
    }
    TraceFiles m_files;
    std::vector<std::string> m_notes;
};

} // namespace

TEST_F(RingTest, AFreshRingIsInTheOrderOfItsNumbers) {
    for (int i = 0; i < 12; ++i)
        write(i, 10, i);
    EXPECT_THAT(indicesOf(ring()), ElementsAre(0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11));
    EXPECT_THAT(startsOf(ring()), ElementsAre(0));
    EXPECT_TRUE(ring().hasDates);
    EXPECT_THAT(m_notes, IsEmpty());
}

TEST_F(RingTest, ARingThatHasComeAroundBeginsBehindItsNewestFile) {
    write(0, 10, 4);
    write(1, 10, 5);
    write(2, 10, 2);
    write(3, 10, 3);
    EXPECT_THAT(indicesOf(ring()), ElementsAre(2, 3, 0, 1));
    EXPECT_THAT(startsOf(ring()), ElementsAre(2)) << "one run, whose begin is lost";
}

TEST_F(RingTest, FilesThatAnEarlierRunHasLeftComeFirst) {
    write(0, 11, 0, 8);
    write(1, 10, 1, 7);
    write(2, 10, 2, 7);
    EXPECT_THAT(indicesOf(ring()), ElementsAre(1, 2, 0));
    EXPECT_THAT(startsOf(ring()), ElementsAre(1, 0));
}

TEST_F(RingTest, RunsWhoseBeginIsLostAreToldApart) {
    write(5, 9, 0, 6);
    write(2, 10, 0, 7);
    write(3, 10, 1, 7);
    write(0, 11, 0, 8);
    write(1, 11, 1, 8);
    EXPECT_THAT(indicesOf(ring()), ElementsAre(5, 2, 3, 0, 1));
    EXPECT_THAT(startsOf(ring()), ElementsAre(5, 2, 0));
}

TEST_F(RingTest, FilesOfAnEarlierDayComeFirst) {
    write(0, 9, 0, 8);
    m_files.write("trace_1.txt", traceLine("23:00:00-000", "call"), at(23, 0, 0.1) - 24 * 3600);
    const Ring found = ring();
    EXPECT_THAT(indicesOf(found), ElementsAre(1, 0));
    EXPECT_EQ(found.files[1].firstDay - found.files[0].firstDay, Zevo::DAY);
}

TEST_F(RingTest, AStartBehindACrashIsAStartEvenWithTheSameThreadNumber) {
    m_files.write("trace_1.txt",
                  traceLine("10:00:00-000", "call") +
                      "-------------- OBJECT(S) COUNT --------------\n"
                      "Class = A                             , count = 000001\n"
                      "---------------------------------------------\n",
                  at(10, 0, 0.1));
    write(0, 11, 0);
    EXPECT_THAT(startsOf(ring()), ElementsAre(1, 0));
}

TEST_F(RingTest, MidnightsInAFileAreCountedBackFromItsTime) {
    m_files.write("trace_0.txt",
                  traceLine("23:59:00-000", "a") + traceLine("00:01:00-000", "b") +
                      traceLine("23:00:00-000", "c") + traceLine("01:00:00-000", "d"),
                  at(1, 0, 0.1));
    const Ring found = ring();
    EXPECT_EQ(found.files[0].facts.midnights, 2);
    const Zevo::Moment day = found.files[0].modified - found.files[0].modified % Zevo::DAY;
    EXPECT_EQ(found.files[0].firstDay, day - 2 * Zevo::DAY);
}

TEST_F(RingTest, ALastLineJustBeforeMidnightBelongsToTheDayBefore) {
    m_files.write("trace_0.txt", traceLine("23:59:59-900", "a"), at(0, 0, 0.6));
    const Ring found = ring();
    EXPECT_EQ(found.files[0].firstDay, found.files[0].modified - 600 - Zevo::DAY);
}

TEST_F(RingTest, AnHourThatTheClockIsSetBackIsNoMidnight) {
    m_files.write("trace_0.txt", traceLine("02:59:00-000", "a") + traceLine("02:00:00-000", "b"),
                  at(2, 0, 0.1));
    EXPECT_EQ(ring().files[0].facts.midnights, 0);
}

TEST_F(RingTest, FilesOfAnotherTimeZoneAreInOrderToo) {
    for (int i = 0; i < 3; ++i)
        m_files.write("trace_" + std::to_string(i) + ".txt",
                      traceLine("10:0" + std::to_string((i + 1) % 3) + ":00-000", "call"),
                      at(13, 30 + (i + 1) % 3, 0.4));
    EXPECT_THAT(indicesOf(ring()), ElementsAre(2, 0, 1));
    EXPECT_TRUE(ring().hasDates);
}

TEST_F(RingTest, CopiedFilesAreOrderedByTheirLines) {
    const char* const times[] = {"10:04:00-000", "10:05:00-000", "10:02:00-000", "10:03:00-000"};
    for (int i = 0; i < 4; ++i)
        m_files.write("trace_" + std::to_string(i) + ".txt", traceLine(times[i], "call"),
                      at(20, 1, 33) + i * 0.01);
    const Ring found = ring();
    EXPECT_THAT(indicesOf(found), ElementsAre(2, 3, 0, 1));
    EXPECT_FALSE(found.hasDates);
    EXPECT_THAT(m_notes, ElementsAre(HasSubstr("copied?")));
}

TEST_F(RingTest, OtherFilesOfTheFolderAreLeftAlone) {
    write(0, 10, 0);
    m_files.write("launcher.lock", "17\n", 0);
    m_files.write("trace_x.txt", traceLine("10:00:00-000", "call"), 0);
    m_files.write("readme_1.txt", "Read me.\n", 0);
    EXPECT_THAT(indicesOf(ring()), ElementsAre(0));
    EXPECT_THAT(m_notes, ElementsAre((m_files / "readme_1.txt") + ": holds neither a trace nor a log"));
}

TEST_F(RingTest, TraceAndLogAreRingsOfTheirOwn) {
    write(0, 10, 0);
    m_files.write("logger_0.txt", "[10:00:00-000][LEVEL_0] text\n", at(10, 0, 0.2));
    const std::vector<Ring> rings = findRings({m_files.path()}, m_notes);
    ASSERT_EQ(rings.size(), 2u);
    EXPECT_FALSE(rings[0].isTrace);
    EXPECT_TRUE(rings[1].isTrace);
}

TEST_F(RingTest, AFolderThatIsNotThereIsTold) {
    EXPECT_THROW(findRings({m_files / "none"}, m_notes), std::runtime_error);
}
