#include "AppDataPersistence.h"

#include "LargestAllocation.h"
#include "OtherProcess.h"
#include "StoreTest.h"
#include "Substitute.h"
#include "TraceCapture.h"
#include "detail/LockWait.h"

#include <climits>
#include <csignal>
#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/file.h>
#include <sys/resource.h>
#include <sys/stat.h>

using namespace kf::detail;

using testing::HasSubstr;
using testing::Not;

static int lockError = 0; // the errno with which flock fails

SUBSTITUTE(int, flock, (int descriptor, int operation)) {
    if (lockError != 0) {
        errno = lockError;
        return -1;
    }
    return ORIGINAL(flock)(descriptor, operation);
}

namespace {

/// How often a text contains a part.
int countOf(const std::string& part, const std::string& text) {
    int count = 0;
    for (size_t i = text.find(part); i != std::string::npos; i = text.find(part, i + 1))
        ++count;
    return count;
}

class AppDataPersistenceTest : public StoreTest {
protected:
    std::string read(const std::string& name) {
        std::string value = "(none)";
        m_store.readParam(name, value);
        return value;
    }

    AppDataPersistence m_store{"Zevo", "Domain", PERSISTENCE_CURRENT_USER};
    const std::string m_file = userFile("Domain.dat");
};

TEST_F(AppDataPersistenceTest, TheUsersFileLiesUnderTheUsersFolder) {
    EXPECT_EQ(AppDataPersistence::getPersistenceFilePath("Zevo", "Domain", PERSISTENCE_CURRENT_USER), m_file);
}

TEST_F(AppDataPersistenceTest, TheMachinesFileLiesUnderTheMachinesFolder) {
    EXPECT_EQ(AppDataPersistence::getPersistenceFilePath("Zevo", "Domain", PERSISTENCE_ALL_USERS),
              machineFile("Domain.dat"));
}

TEST_F(AppDataPersistenceTest, MakesTheFamilysAndTheScopesFolderButNoFile) {
    struct stat status;
    EXPECT_EQ(stat((m_folder / "user/Ferrow/Zevo").c_str(), &status), 0);
    EXPECT_NE(0, stat(m_file.c_str(), &status));
}

TEST_F(AppDataPersistenceTest, LinesAreInTheOrderOfTheirNames) {
    EXPECT_TRUE(m_store.writeParam("a", "1"));
    EXPECT_TRUE(m_store.writeParam("b", "2"));
    EXPECT_EQ(readFile(m_file), "a=1\nb=2\n");
}

TEST_F(AppDataPersistenceTest, TheOrderOfWritingDoesNotMatter) {
    m_store.writeParam("b", "2");
    m_store.writeParam("a", "1");
    EXPECT_EQ(readFile(m_file), "a=1\nb=2\n");
}

TEST_F(AppDataPersistenceTest, NamesAreOrderedByTheirBytes) {
    for (const char* name : {"b", "\xC3\xA4", "B", "ba"})
        m_store.writeParam(name, "");
    EXPECT_EQ(readFile(m_file), "B=\nb=\nba=\n\xC3\xA4=\n");
}

TEST_F(AppDataPersistenceTest, OnlyTheFirstEqualsSignSeparates) {
    writeFile(m_file, "x=y=z\n");
    EXPECT_EQ(read("x"), "y=z");
}

TEST_F(AppDataPersistenceTest, ALineWithoutEqualsSignIsDeliberatelyNameAndValue) {
    writeFile(m_file, "flag\n");
    EXPECT_EQ(read("flag"), "flag");
}

TEST_F(AppDataPersistenceTest, EmptyLinesAndEmptyNamesAreIgnored) {
    writeFile(m_file, "\n=v\na=1\n\n");
    t_paramMap params;
    EXPECT_TRUE(m_store.readPersistenceFile(params));
    EXPECT_EQ(params, (t_paramMap{{"a", "1"}}));
}

TEST_F(AppDataPersistenceTest, ALaterLineOfTheSameNameReplacesTheEarlier) {
    writeFile(m_file, "a=1\nb=2\na=3\n");
    EXPECT_EQ(read("a"), "3");
    t_paramMap params;
    m_store.readPersistenceFile(params);
    EXPECT_EQ(params, (t_paramMap{{"a", "3"}, {"b", "2"}}));
}

TEST_F(AppDataPersistenceTest, ReadingFromAMissingFileIsFalseAndTraced) {
    const TraceCapture trace;
    std::string value = "kept";
    EXPECT_FALSE(m_store.readParam("a", value));
    EXPECT_EQ(value, "kept");
    EXPECT_NE(std::string::npos, trace.text().find("Parameter 'a' not found"));
}

TEST_F(AppDataPersistenceTest, EraseEmptiesTheFileAndKeepsIt) {
    m_store.writeParam("a", "1");
    m_store.eraseAllParams();
    EXPECT_EQ(readFile(m_file), "");
}

TEST_F(AppDataPersistenceTest, EraseOnAMissingFileCreatesNothing) {
    m_store.eraseAllParams();
    struct stat status;
    EXPECT_NE(0, stat(m_file.c_str(), &status));
}

TEST_F(AppDataPersistenceTest, StoresSeeEachOthersWritesAtTheNextAccess) {
    AppDataPersistence other("Zevo", "Domain", PERSISTENCE_CURRENT_USER);
    EXPECT_EQ(read("a"), "(none)");
    other.writeParam("a", "1");
    EXPECT_EQ(read("a"), "1");
}

TEST_F(AppDataPersistenceTest, RefusesWhatCouldNotBeReadBackAndTouchesNothing) {
    m_store.writeParam("a", "1");
    const TraceCapture trace;
    EXPECT_FALSE(m_store.writeParam("", "v"));
    EXPECT_FALSE(m_store.writeParam("n=m", "v"));
    EXPECT_FALSE(m_store.writeParam("n\nm", "v"));
    EXPECT_FALSE(m_store.writeParam("n", "v\nw"));
    EXPECT_EQ(readFile(m_file), "a=1\n");
    for (const char* reason : {"the name is empty", "the name holds \"=\"", "the name holds a line feed",
                               "the value holds a line feed"})
        EXPECT_NE(std::string::npos, trace.text().find(reason)) << reason;
}

TEST_F(AppDataPersistenceTest, ARefusedNameOfTenMegabytesIsTracedWithoutHarm) {
    const TraceCapture trace;
    EXPECT_FALSE(m_store.writeParam(std::string(10000000, 'n') + "=", "v"));
    EXPECT_FALSE(trace.text().empty());
}

TEST_F(AppDataPersistenceTest, AMapWithAParameterThatCouldNotBeReadBackIsRefusedWhole) {
    m_store.writeParam("a", "1");
    const TraceCapture trace;
    EXPECT_FALSE(m_store.writePersistenceFile({{"b", "2"}, {"n=m", "v"}}));
    EXPECT_EQ(readFile(m_file), "a=1\n");
    EXPECT_NE(std::string::npos, trace.text().find("Parameter 'n=m' refused : the name holds \"=\""));
}

TEST_F(AppDataPersistenceTest, ReadsALastLineWithoutLineFeed) {
    writeFile(m_file, "a=1\nb=2");
    EXPECT_EQ(read("b"), "2");
}

TEST_F(AppDataPersistenceTest, ACarriageReturnStaysPartOfTheValue) {
    writeFile(m_file, "a=1\r\nb=2\r\n");
    EXPECT_EQ(read("a"), "1\r");
}

TEST_F(AppDataPersistenceTest, ZeroBytesSurviveAReadAndAWrite) {
    const std::string content("a=1\0002\nn\000m=3\n", 12);
    writeFile(m_file, content);
    EXPECT_EQ(read("a"), std::string("1\0002", 3));
    EXPECT_TRUE(m_store.writeParam("z", ""));
    EXPECT_EQ(readFile(m_file), content + "z=\n");
}

TEST_F(AppDataPersistenceTest, ALineOfTenMegabytesIsReadAndKept) {
    const std::string longValue(10000000, 'v');
    writeFile(m_file, "a=" + longValue + "\nb=2\n");
    EXPECT_EQ(read("a"), longValue);
    EXPECT_TRUE(m_store.writeParam("c", "3"));
    EXPECT_EQ(readFile(m_file), "a=" + longValue + "\nb=2\nc=3\n");
}

TEST_F(AppDataPersistenceTest, AFileThatCannotBeReadIsNotWrittenOver) {
    mkdir(m_file.c_str(), 0777);
    const TraceCapture trace;
    t_paramMap params;
    EXPECT_FALSE(m_store.readPersistenceFile(params));
    EXPECT_FALSE(m_store.writeParam("a", "1"));
    EXPECT_NE(std::string::npos, trace.text().find("Cannot read parameter file '" + m_file + "'"));
}

TEST_F(AppDataPersistenceTest, AFileThatClaimsTwoGigabytesIsNeitherReadIntoMemoryNorWrittenOver) {
    writeFile(m_file, "a=1\n");
    ASSERT_EQ(truncate(m_file.c_str(), INT_MAX), 0); // a hole, which takes no space on the disk
    const TraceCapture trace;
    EXPECT_EQ(read("a"), "(none)");
    EXPECT_FALSE(m_store.writeParam("b", "2"));
    EXPECT_NE(std::string::npos, trace.text().find("Cannot read parameter file '" + m_file + "'"));
    struct stat status;
    ASSERT_EQ(stat(m_file.c_str(), &status), 0);
    EXPECT_EQ(status.st_size, INT_MAX);
}

TEST_F(AppDataPersistenceTest, NameAndValueMayBeOneString) {
    writeFile(m_file, "a=1\n1=another\n");
    std::string text = "a";
    EXPECT_TRUE(m_store.readParam(text, text));
    EXPECT_EQ(text, "1");
    writeFile(m_file, "a=1\n1=another\na=2\n");
    text = "a";
    EXPECT_TRUE(m_store.readParam(text, text));
    EXPECT_EQ(text, "2");
}

TEST_F(AppDataPersistenceTest, AFileThatDoesNotFitIntoMemoryIsFalseAndTracedAndNotWrittenOver) {
    const off_t size = 1500000000; // more than a 32-bit program can hold in one text
    writeFile(m_file, "a=1\n");
    ASSERT_EQ(truncate(m_file.c_str(), size), 0); // a hole, which takes no space on the disk
    const TraceCapture trace;
    const LargestAllocation limit(1000000000);
    t_paramMap params;
    EXPECT_EQ(read("a"), "(none)");
    EXPECT_FALSE(m_store.readPersistenceFile(params));
    EXPECT_FALSE(m_store.writeParam("b", "2"));
    EXPECT_THAT(trace.text(), HasSubstr("[E] Not enough memory for parameter file '" + m_file + "'"));
    struct stat status;
    ASSERT_EQ(stat(m_file.c_str(), &status), 0);
    EXPECT_EQ(status.st_size, size);
}

TEST_F(AppDataPersistenceTest, ContentThatDoesNotFitIntoMemoryIsFalseAndTracedAndNotWritten) {
    const t_paramMap params = {{"a", std::string(600000, 'v')}, {"b", std::string(600000, 'v')}};
    ASSERT_TRUE(m_store.writeParam("a", params.at("a")));
    const std::string before = readFile(m_file);
    const TraceCapture trace;
    const LargestAllocation limit(1000000);
    EXPECT_FALSE(m_store.writePersistenceFile(params));
    EXPECT_THAT(trace.text(), HasSubstr("[E] Not enough memory for parameter file '" + m_file + "'"));
    EXPECT_FALSE(m_store.writeParam("b", params.at("b")));
    EXPECT_EQ(readFile(m_file), before);
}

TEST_F(AppDataPersistenceTest, ADomainMayHaveAsLongANameAsTheFileSystemHolds) {
    const std::string domain(NAME_MAX - 4, 'd'); // plus ".dat"
    AppDataPersistence store("Zevo", domain, PERSISTENCE_CURRENT_USER);
    AppDataPersistence neighbour("Zevo", domain.substr(1) + "e", PERSISTENCE_CURRENT_USER);
    EXPECT_TRUE(store.writeParam("a", "1"));
    EXPECT_TRUE(neighbour.writeParam("a", "2"));
    EXPECT_TRUE(store.writeParam("b", "3"));
    EXPECT_EQ(readFile(userFile(domain + ".dat")), "a=1\nb=3\n");
    std::string value;
    EXPECT_TRUE(neighbour.readParam("a", value));
    EXPECT_EQ(value, "2");
    AppDataPersistence tooLong("Zevo", domain + "d", PERSISTENCE_CURRENT_USER);
    EXPECT_FALSE(tooLong.writeParam("a", "1"));
}

TEST_F(AppDataPersistenceTest, ItsFileIsUncountedWhenItGoes) {
    TraceCapture trace;
    for (int round = 0; round < 10; ++round) {
        AppDataPersistence("Zevo", "Domain", PERSISTENCE_CURRENT_USER);
        AppDataPersistence::getPersistenceFilePath("Zevo", "Domain", PERSISTENCE_CURRENT_USER);
    }
    trace.tracer().PrintAllObjectsCount();
    EXPECT_THAT(trace.text(), HasSubstr("PersistenceFile::destructor\n"));
    EXPECT_THAT(trace.text(), Not(HasSubstr("Class = ")));
}

TEST_F(AppDataPersistenceTest, APipeInTheFilesPlaceDoesNotHang) {
    ASSERT_EQ(mkfifo(m_file.c_str(), 0666), 0);
    EXPECT_FALSE(m_store.writeParam("a", "1"));
    EXPECT_EQ(read("a"), "(none)");
}

TEST_F(AppDataPersistenceTest, AFullDiskIsFalseAndTracedAndLeavesTheOldContent) {
    m_store.writeParam("a", "1");
    EXPECT_TRUE(inAnotherProcess([&] {
        const TraceCapture trace;
        signal(SIGXFSZ, SIG_IGN);
        const struct rlimit limit = {20000, 20000}; // the trace needs some of it
        setrlimit(RLIMIT_FSIZE, &limit);
        return !m_store.writeParam("b", std::string(100000, 'v')) &&
               trace.text().find("Cannot write parameter file '" + m_file + "'") != std::string::npos;
    }));
    EXPECT_EQ(readFile(m_file), "a=1\n");
}

TEST_F(AppDataPersistenceTest, AnUnwritableFolderIsFalseAndTracedAndChangesNothing) {
    const std::string folder = m_folder / "user/Ferrow/Zevo";
    chmod(folder.c_str(), 0555);
    EXPECT_TRUE(boundByFileModes([&] {
        const TraceCapture trace;
        return !m_store.writeParam("a", "1") &&
               trace.text().find("Cannot lock parameter file '" + m_file + "'") != std::string::npos;
    }));
    chmod(folder.c_str(), 0755);
    struct stat status;
    EXPECT_NE(0, stat(m_file.c_str(), &status));
}

TEST_F(AppDataPersistenceTest, AReadOnlyFileIsFalseAndStaysAsItIs) {
    m_store.writeParam("a", "1");
    chmod(m_file.c_str(), 0444);
    EXPECT_TRUE(boundByFileModes([&] { return !m_store.writeParam("b", "2"); }));
    EXPECT_EQ(readFile(m_file), "a=1\n");
}

TEST_F(AppDataPersistenceTest, AWritableFileInAnUnwritableFolderIsWrittenInPlace) {
    const std::string folder = m_folder / "user/Ferrow/Zevo";
    writeFile(m_file, "a=1\n");
    chmod(folder.c_str(), 0555);
    EXPECT_TRUE(boundByFileModes([&] { return m_store.writeParam("b", "2"); }));
    chmod(folder.c_str(), 0755);
    EXPECT_EQ(readFile(m_file), "a=1\nb=2\n");
}

TEST_F(AppDataPersistenceTest, AFileReachedThroughALinkIsReplacedWhereItLies) {
    writeFile(m_folder / "real.dat", "a=1\n");
    ASSERT_EQ(symlink((m_folder / "real.dat").c_str(), m_file.c_str()), 0);
    EXPECT_TRUE(m_store.writeParam("b", "2"));
    EXPECT_EQ(readFile(m_folder / "real.dat"), "a=1\nb=2\n");
}

// ---- Locks

TEST_F(AppDataPersistenceTest, WithoutLocksItIsWrittenAllTheSameAndTracedOnce) {
    EXPECT_TRUE(inAnotherProcess([this] { // reported once per process
        lockError = ENOLCK;
        const TraceCapture trace;
        const bool written = m_store.writeParam("a", "1") && m_store.writeParam("b", "2");
        return written && countOf("Parameter file '" + m_file + "' : no locks here", trace.text()) == 1;
    }));
    EXPECT_EQ(readFile(m_file), "a=1\nb=2\n");
}

TEST_F(AppDataPersistenceTest, ALockThatSomebodyElseKeepsIsFalseAndTraced) {
    m_store.writeParam("a", "1");
    const int other = open((m_file + ".lock").c_str(), O_RDWR | O_CLOEXEC);
    ASSERT_EQ(flock(other, LOCK_EX), 0);
    EXPECT_TRUE(inAnotherProcess([this] {
        LockWait::setLongest(std::chrono::seconds(0));
        const TraceCapture trace;
        return !m_store.writeParam("b", "2") &&
               countOf("Cannot lock parameter file '" + m_file + "' : somebody else has kept it locked",
                       trace.text()) == 1;
    }));
    EXPECT_EQ(read("a"), "1") << "who reads does not wait for who replaces the file";
    close(other);
    EXPECT_TRUE(m_store.writeParam("b", "2"));
}

TEST_F(AppDataPersistenceTest, AReaderDoesNotMeetAFileThatIsBeingWrittenInPlace) {
    m_store.writeParam("a", "1");
    const int writer = open(m_file.c_str(), O_RDWR | O_CLOEXEC);
    ASSERT_EQ(flock(writer, LOCK_EX), 0);
    EXPECT_TRUE(inAnotherProcess([this] {
        LockWait::setLongest(std::chrono::seconds(0));
        const TraceCapture trace;
        return read("a") == "(none)" &&
               countOf("Cannot read parameter file '" + m_file + "'", trace.text()) == 1;
    }));
    close(writer);
    EXPECT_EQ(read("a"), "1");
}

} // namespace
