#include "BinaryAppDataPersistence.h"

#include "LargestAllocation.h"
#include "OtherProcess.h"
#include "StoreTest.h"
#include "TraceCapture.h"

#include <climits>
#include <csignal>
#include <gmock/gmock.h>
#include <memory>
#include <sys/resource.h>
#include <sys/stat.h>

using testing::HasSubstr;

namespace {

bool exists(const std::string& path) {
    struct stat status;
    return lstat(path.c_str(), &status) == 0;
}

class BinaryAppDataPersistenceTest : public StoreTest {
protected:
    /// The block's bytes, or "(none)".
    std::string read(const std::string& name) {
        int size = -1;
        const std::unique_ptr<char[]> data(m_store.readUnformattedParam(name, size));
        return data != nullptr ? std::string(data.get(), static_cast<size_t>(size)) : "(none)";
    }
    bool write(const std::string& name, const std::string& data) {
        return m_store.writeUnformattedParam(name, data.data(), static_cast<int>(data.size()));
    }

    BinaryAppDataPersistence m_store{"Zevo", "Domain", PERSISTENCE_CURRENT_USER};
    const std::string m_file = userFile("Domain_binary.dat");
};

TEST_F(BinaryAppDataPersistenceTest, TheFileLiesBesideTheTextParameters) {
    EXPECT_EQ(m_store.getPersistenceFilePath("Zevo", "Domain", PERSISTENCE_CURRENT_USER), m_file);
    EXPECT_EQ(m_store.getPersistenceFilePath("Zevo", "Domain", PERSISTENCE_ALL_USERS),
              machineFile("Domain_binary.dat"));
}

TEST_F(BinaryAppDataPersistenceTest, ThreeBytesUnderKAreThirteenBytesInTheFile) {
    EXPECT_TRUE(write("k", "\x01\x02\x03"));
    EXPECT_EQ(readFile(m_file), std::string("\x02\x00\x00\x00\x6B\x00\x03\x00\x00\x00\x01\x02\x03", 13));
}

TEST_F(BinaryAppDataPersistenceTest, RecordsAreInTheOrderOfTheirNames) {
    write("b", "2");
    write("a", "1");
    EXPECT_EQ(readFile(m_file), record("a", "1") + record("b", "2"));
}

TEST_F(BinaryAppDataPersistenceTest, ABlockOfSizeZeroIsReadBackAndNotNull) {
    EXPECT_TRUE(m_store.writeUnformattedParam("empty", nullptr, 0));
    int size = -1;
    const std::unique_ptr<char[]> data(m_store.readUnformattedParam("empty", size));
    EXPECT_NE(nullptr, data);
    EXPECT_EQ(size, 0);
}

TEST_F(BinaryAppDataPersistenceTest, ALaterRecordOfTheSameNameReplacesTheEarlier) {
    writeFile(m_file, record("a", "1") + record("a", "2"));
    EXPECT_EQ(read("a"), "2");
    BinaryAppDataPersistence::ParamMap params;
    m_store.readPersistenceFile(params);
    EXPECT_EQ(params.size(), 1u);
}

TEST_F(BinaryAppDataPersistenceTest, ReadingFromAMissingFileIsNullAndTraced) {
    const TraceCapture trace;
    int size = 7;
    EXPECT_EQ(m_store.readUnformattedParam("a", size), nullptr);
    EXPECT_EQ(size, 7);
    EXPECT_NE(std::string::npos, trace.text().find("Parameter 'a' not found"));
}

TEST_F(BinaryAppDataPersistenceTest, EraseEmptiesTheFileAndKeepsIt) {
    write("a", "1");
    m_store.eraseAllParams();
    EXPECT_EQ(readFile(m_file), "");
    EXPECT_EQ(read("a"), "(none)");
}

TEST_F(BinaryAppDataPersistenceTest, EraseOnAMissingFileCreatesNothing) {
    m_store.eraseAllParams();
    struct stat status;
    EXPECT_NE(0, stat(m_file.c_str(), &status));
}

TEST_F(BinaryAppDataPersistenceTest, RefusesWhatCouldNotBeReadBackAndTouchesNothing) {
    write("a", "1");
    const TraceCapture trace;
    EXPECT_FALSE(write("", "v"));
    EXPECT_FALSE(m_store.writeUnformattedParam("n", "v", -1));
    EXPECT_FALSE(m_store.writeUnformattedParam("n", nullptr, 1));
    EXPECT_FALSE(m_store.writeUnformattedParam("n", "v", INT_MAX));
    EXPECT_EQ(readFile(m_file), record("a", "1"));
    for (const char* reason :
         {"the name is empty", "the size is negative", "there is no data", "the block is too large"})
        EXPECT_NE(std::string::npos, trace.text().find(reason)) << reason;
}

TEST_F(BinaryAppDataPersistenceTest, NamesAndDataMayHoldAnyByte) {
    const std::string name("n=\n\0m", 5);
    const std::string data("\0\n=\xFF", 4);
    EXPECT_TRUE(write(name, data));
    EXPECT_EQ(read(name), data);
}

TEST_F(BinaryAppDataPersistenceTest, AFullDiskIsFalseAndTracedAndLeavesTheOldContent) {
    write("a", "1");
    EXPECT_TRUE(inAnotherProcess([&] {
        const TraceCapture trace;
        signal(SIGXFSZ, SIG_IGN);
        const struct rlimit limit = {20000, 20000}; // the trace needs some of it
        setrlimit(RLIMIT_FSIZE, &limit);
        return !write("b", std::string(100000, 'v')) &&
               trace.text().find("Cannot write parameter file '" + m_file + "'") != std::string::npos;
    }));
    EXPECT_EQ(readFile(m_file), record("a", "1"));
}

TEST_F(BinaryAppDataPersistenceTest, AnUnwritableFolderIsFalseAndTracedAndChangesNothing) {
    const std::string folder = m_folder / "user/Ferrow/Zevo";
    chmod(folder.c_str(), 0555);
    EXPECT_TRUE(boundByFileModes([&] {
        const TraceCapture trace;
        return !write("a", "1") &&
               trace.text().find("Cannot lock parameter file '" + m_file + "'") != std::string::npos;
    }));
    chmod(folder.c_str(), 0755);
    struct stat status;
    EXPECT_NE(0, stat(m_file.c_str(), &status));
}

TEST_F(BinaryAppDataPersistenceTest, AWritableFileInAnUnwritableFolderIsWrittenInPlace) {
    const std::string folder = m_folder / "user/Ferrow/Zevo";
    writeFile(m_file, record("a", "1"));
    chmod(folder.c_str(), 0555);
    EXPECT_TRUE(boundByFileModes([&] { return write("b", "2"); }));
    chmod(folder.c_str(), 0755);
    EXPECT_EQ(readFile(m_file), record("a", "1") + record("b", "2"));
}

// These are the bytes that docs/parameters.md explains.
TEST_F(BinaryAppDataPersistenceTest, TheFileOfTheDocumentationHasTheseBytes) {
    write("note", "hi");
    write("k", "\x01\x02\x03");
    EXPECT_EQ(readFile(m_file), std::string("\x02\x00\x00\x00\x6b\x00\x03\x00\x00\x00\x01\x02\x03\x05\x00\x00"
                                            "\x00\x6e\x6f\x74\x65\x00\x02\x00\x00\x00\x68\x69",
                                            28));
}

/// Texts that are not a record; each of them ends the reading.
class DamagedFileTest : public BinaryAppDataPersistenceTest,
                        public testing::WithParamInterface<std::string> {};

TEST_P(DamagedFileTest, WhatPrecedesTheDamageIsRead) {
    writeFile(m_file, record("a", "1") + GetParam());
    EXPECT_EQ(read("a"), "1");
    BinaryAppDataPersistence::ParamMap params;
    EXPECT_TRUE(m_store.readPersistenceFile(params));
    EXPECT_EQ(params.size(), 1u);
}

TEST_P(DamagedFileTest, EveryReadTellsTheDamage) {
    writeFile(m_file, record("a", "1") + GetParam());
    const std::string message = "[E] Parameter file '" + m_file + "' is damaged at byte 11 of ";
    {
        const TraceCapture trace;
        EXPECT_EQ(read("a"), "1");
        EXPECT_THAT(trace.text(), HasSubstr(message));
    }
    const TraceCapture trace;
    EXPECT_EQ(read("missing"), "(none)");
    EXPECT_THAT(trace.text(), HasSubstr(message));
}

TEST_P(DamagedFileTest, AWholeMapKeepsTheDamagedFileBesideToo) {
    const std::string content = record("a", "1") + GetParam();
    writeFile(m_file, content);
    EXPECT_TRUE(m_store.writePersistenceFile({{"b", t_Param("b", "2", 1)}}));
    EXPECT_EQ(readFile(m_file), record("b", "2"));
    EXPECT_EQ(readFile(m_file + ".damaged"), content);
}

TEST_P(DamagedFileTest, ASecondDamageKeepsTheFirstCopy) {
    const std::string first = record("a", "1") + GetParam();
    writeFile(m_file, first);
    EXPECT_TRUE(write("b", "2"));
    writeFile(m_file, record("c", "3") + GetParam());
    const TraceCapture trace;
    EXPECT_TRUE(write("d", "4"));
    EXPECT_EQ(readFile(m_file), record("c", "3") + record("d", "4"));
    EXPECT_EQ(readFile(m_file + ".damaged"), first);
    EXPECT_THAT(trace.text(), HasSubstr("[W] '" + m_file + ".damaged' of an earlier damage stays"));
}

TEST_P(DamagedFileTest, EraseRemovesTheCopyAndMakesNone) {
    writeFile(m_file, record("a", "1") + GetParam());
    m_store.eraseAllParams();
    EXPECT_EQ(readFile(m_file), "");
    EXPECT_FALSE(exists(m_file + ".damaged"));
    writeFile(m_file, record("a", "1") + GetParam());
    EXPECT_TRUE(write("b", "2"));
    EXPECT_TRUE(exists(m_file + ".damaged"));
    m_store.eraseAllParams();
    EXPECT_EQ(readFile(m_file), "");
    EXPECT_FALSE(exists(m_file + ".damaged"));
}

TEST_P(DamagedFileTest, AWriteKeepsTheDamagedFileBeside) {
    const std::string content = record("a", "1") + GetParam();
    writeFile(m_file, content);
    EXPECT_TRUE(write("b", "2"));
    EXPECT_EQ(readFile(m_file), record("a", "1") + record("b", "2"));
    EXPECT_EQ(readFile(m_file + ".damaged"), content);
}

TEST_P(DamagedFileTest, ADamagedFileThatCannotBeKeptIsNotWrittenOver) {
    const std::string content = record("a", "1") + GetParam();
    writeFile(m_file, content);
    mkdir((m_file + ".damaged").c_str(), 0777);
    const TraceCapture trace;
    EXPECT_FALSE(write("b", "2"));
    EXPECT_EQ(readFile(m_file), content);
    EXPECT_NE(std::string::npos, trace.text().find("Cannot keep the damaged parameter file"));
}

TEST_P(DamagedFileTest, NothingIsAllocatedBeyondTheFilesOwnSize) {
    writeFile(m_file, record("a", "1") + GetParam());
    const LargestAllocation largest;
    read("a");
    BinaryAppDataPersistence::ParamMap params;
    m_store.readPersistenceFile(params);
    EXPECT_LT(largest.size(), 100000u);
}

INSTANTIATE_TEST_SUITE_P(
    Hazards, DamagedFileTest,
    testing::Values(length32(0) + length32(1) + "x",                            // a name of no length
                    length32(0xFFFFFFFF) + "x",                                 // a name of 4 GB
                    length32(9) + "short",                                      // a name past the end
                    length32(2) + std::string("n\0", 2) + length32(0xFFFFFFFF), // data of 4 GB
                    length32(2) + std::string("n\0", 2) + length32(1000000000), // 1 GB claimed by 20 bytes
                    length32(2) + std::string("n\0", 2) + length32(2) + "x",    // data past the end
                    length32(2) + std::string("n\0", 2) + "\x01",               // half a length
                    std::string("\x02")));

TEST_F(BinaryAppDataPersistenceTest, TwentyBytesThatClaimOneGigabyteAreReadAsNothing) {
    writeFile(m_file, length32(2) + std::string("n\0", 2) + length32(1000000000) + std::string(10, 'x'));
    const LargestAllocation largest;
    EXPECT_EQ(read("n"), "(none)");
    BinaryAppDataPersistence::ParamMap params;
    EXPECT_TRUE(m_store.readPersistenceFile(params));
    EXPECT_TRUE(params.empty());
    EXPECT_LT(largest.size(), 100000u);
}

TEST_F(BinaryAppDataPersistenceTest, EraseRemovesACopyThatLiesThereAlone) {
    writeFile(m_file + ".damaged", "x");
    m_store.eraseAllParams();
    EXPECT_FALSE(exists(m_file + ".damaged"));
    EXPECT_FALSE(exists(m_file));
}

// The name's last byte is dropped as its zero byte, whatever it is. Deliberate: the written length is
// trusted.
TEST_F(BinaryAppDataPersistenceTest, ANameWithoutItsZeroByteIsReadWithoutItsLastByte) {
    writeFile(m_file, record("a", "1") + length32(2) + "nm" + length32(1) + "x" + record("z", "2"));
    const TraceCapture trace;
    EXPECT_EQ(read("n"), "x");
    EXPECT_EQ(read("z"), "2");
    EXPECT_TRUE(write("b", "3"));
    EXPECT_EQ(readFile(m_file), record("a", "1") + record("b", "3") + record("n", "x") + record("z", "2"));
    EXPECT_EQ(trace.text().find("damaged"), std::string::npos);
}

TEST_F(BinaryAppDataPersistenceTest, ADomainMayHaveAsLongANameAsTheFileSystemHolds) {
    const std::string domain(NAME_MAX - 11, 'd'); // plus "_binary.dat"
    BinaryAppDataPersistence store("Zevo", domain, PERSISTENCE_CURRENT_USER);
    const std::string file = userFile(domain + "_binary.dat");
    EXPECT_TRUE(store.writeUnformattedParam("a", "1", 1));
    EXPECT_EQ(readFile(file), record("a", "1"));
    writeFile(file, record("a", "1") + "x");
    EXPECT_TRUE(store.writeUnformattedParam("b", "2", 1));
    EXPECT_EQ(readFile(file), record("a", "1") + record("b", "2"));
}

TEST_F(BinaryAppDataPersistenceTest, AFileThatDoesNotFitIntoMemoryIsFalseAndTracedAndNotWrittenOver) {
    const off_t size = 1500000000; // more than a 32-bit program can hold in one text
    writeFile(m_file, record("a", "1"));
    ASSERT_EQ(truncate(m_file.c_str(), size), 0); // a hole, which takes no space on the disk
    const TraceCapture trace;
    const LargestAllocation limit(1000000000);
    BinaryAppDataPersistence::ParamMap params;
    EXPECT_EQ(read("a"), "(none)");
    EXPECT_FALSE(m_store.readPersistenceFile(params));
    EXPECT_FALSE(write("b", "2"));
    EXPECT_THAT(trace.text(), HasSubstr("[E] Not enough memory for parameter file '" + m_file + "'"));
    struct stat status;
    ASSERT_EQ(stat(m_file.c_str(), &status), 0);
    EXPECT_EQ(status.st_size, size);
}

TEST_F(BinaryAppDataPersistenceTest, ContentThatDoesNotFitIntoMemoryIsFalseAndTracedAndNotWritten) {
    const std::string data(600000, 'v');
    ASSERT_TRUE(write("a", data));
    const std::string before = readFile(m_file);
    const TraceCapture trace;
    const LargestAllocation limit(1000000);
    EXPECT_FALSE(write("b", data));
    EXPECT_THAT(trace.text(), HasSubstr("[E] Not enough memory for parameter file '" + m_file + "'"));
    EXPECT_EQ(readFile(m_file), before);
}

/// Keeps its blocks in memory.
class InMemory : public BinaryAppDataPersistence {
public:
    using BinaryAppDataPersistence::BinaryAppDataPersistence;

    bool readPersistenceFile(ParamMap& params) override {
        for (const auto& entry : kept)
            params.insert(entry);
        return isReadable;
    }
    bool writePersistenceFile(const ParamMap& params) override {
        kept = params;
        return true;
    }

    ParamMap kept;
    bool isReadable = true;
};

TEST_F(BinaryAppDataPersistenceTest, ASubclassReadsAndWritesForItself) {
    InMemory store("Zevo", "Domain", PERSISTENCE_CURRENT_USER);
    EXPECT_TRUE(store.writeUnformattedParam("a", "12", 2));
    EXPECT_TRUE(store.writeUnformattedParam("b", "", 0));
    EXPECT_EQ(store.kept.size(), 2u);
    int size = 0;
    const std::unique_ptr<char[]> data(store.readUnformattedParam("a", size));
    ASSERT_NE(nullptr, data);
    EXPECT_EQ(std::string(data.get(), static_cast<size_t>(size)), "12");
    EXPECT_EQ(store.readUnformattedParam("c", size), nullptr);
    EXPECT_FALSE(exists(m_file));
    write("in the file", "x");
    store.eraseAllParams();
    EXPECT_TRUE(store.kept.empty());
    EXPECT_EQ(read("in the file"), "x");
}

TEST_F(BinaryAppDataPersistenceTest, WhatASubclassCannotReadIsNotWrittenOver) {
    InMemory store("Zevo", "Domain", PERSISTENCE_CURRENT_USER);
    store.writeUnformattedParam("a", "1", 1);
    store.isReadable = false;
    int size = 0;
    EXPECT_FALSE(store.writeUnformattedParam("b", "2", 1));
    EXPECT_EQ(store.kept.size(), 1u);
    EXPECT_EQ(store.readUnformattedParam("a", size), nullptr);
}

TEST_F(BinaryAppDataPersistenceTest, ADamageIsTracedWithItsPlace) {
    writeFile(m_file, record("a", "1") + "x");
    const TraceCapture trace;
    BinaryAppDataPersistence::ParamMap params;
    m_store.readPersistenceFile(params);
    EXPECT_NE(std::string::npos, trace.text().find("is damaged at byte 11 of 12"));
}

TEST_F(BinaryAppDataPersistenceTest, AFileThatCannotBeReadIsNotWrittenOver) {
    mkdir(m_file.c_str(), 0777);
    BinaryAppDataPersistence::ParamMap params;
    EXPECT_FALSE(m_store.readPersistenceFile(params));
    EXPECT_FALSE(write("a", "1"));
    EXPECT_EQ(read("a"), "(none)");
}

} // namespace
