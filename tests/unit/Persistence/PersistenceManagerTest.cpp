#include "PersistenceManager.h"

#include "BinaryAppDataPersistence.h"
#include "BinaryPersistenceManager.h"
#include "KFExceptionHandler.h"
#include "OtherProcess.h"
#include "StoreTest.h"
#include "TraceCapture.h"

#include <gmock/gmock.h>
#include <memory>

using testing::HasSubstr;

namespace {

class PersistenceManagerTest : public StoreTest {
protected:
    /// What the crash handler reports when `action` breaks a contract.
    template <typename Action>
    std::string reportOf(Action action) {
        const std::string report = m_folder / "report";
        inAnotherProcess([&] {
            setenv("TMPDIR", m_folder.path().c_str(), 1); // the crash ends the process without clean-up
            TraceCapture trace;
            trace.tracer().SetFileName(report);
            KFExceptionHandler::GetInstance();
            action();
            return true;
        });
        return readFile(report + "_0.txt");
    }
};

TEST_F(PersistenceManagerTest, ForwardsToTheTextStore) {
    PersistenceManager manager("Zevo", "Domain", PERSISTENCE_ALL_USERS);
    EXPECT_TRUE(manager.writeParam("a", "1"));
    EXPECT_EQ(readFile(machineFile("Domain.dat")), "a=1\n");
    std::string value;
    EXPECT_TRUE(manager.readParam("a", value));
    EXPECT_EQ(value, "1");
    manager.eraseAllParams();
    EXPECT_FALSE(manager.readParam("a", value));
}

TEST_F(PersistenceManagerTest, ForwardsToTheBinaryStore) {
    BinaryPersistenceManager manager("Zevo", "Domain", PERSISTENCE_CURRENT_USER);
    EXPECT_TRUE(manager.writeUnformattedParam("a", "1", 1));
    EXPECT_EQ(readFile(userFile("Domain_binary.dat")), record("a", "1"));
    int size = 0;
    std::unique_ptr<char[]> data(manager.readUnformattedParam("a", size));
    EXPECT_EQ(std::string(data.get(), 1), "1");
    manager.eraseAllParams();
    data.reset(manager.readUnformattedParam("a", size));
    EXPECT_EQ(data, nullptr);
}

TEST_F(PersistenceManagerTest, AnEmptyNameBreaksTheContract) {
    const std::string expected = "ENSURE VIOLATION : !name.empty() - In File : "
                                 "product/Compatibility/Persistence/src/PersistenceManager - At Line : ";
    PersistenceManager manager("Zevo", "Domain", PERSISTENCE_CURRENT_USER);
    std::string value;
    EXPECT_THAT(reportOf([&] { manager.readParam("", value); }), HasSubstr(expected + "49\n"));
    EXPECT_THAT(reportOf([&] { manager.writeParam("", "v"); }), HasSubstr(expected + "61\n"));
}

TEST_F(PersistenceManagerTest, AnEmptyNameOfABlockBreaksTheContract) {
    const std::string expected =
        "ENSURE VIOLATION : !name.empty() - In File : "
        "product/Compatibility/Persistence/src/BinaryPersistenceManager - At Line : ";
    BinaryPersistenceManager manager("Zevo", "Domain", PERSISTENCE_CURRENT_USER);
    int size = 0;
    EXPECT_THAT(reportOf([&] { delete[] manager.readUnformattedParam("", size); }),
                HasSubstr(expected + "49\n"));
    EXPECT_THAT(reportOf([&] { manager.writeUnformattedParam("", "v", 1); }), HasSubstr(expected + "61\n"));
}

TEST_F(PersistenceManagerTest, TheCallsOfTheTextStoreAreTraced) {
    const TraceCapture trace;
    {
        PersistenceManager manager("Zevo", "Domain", PERSISTENCE_CURRENT_USER);
        std::string value;
        manager.writeParam("a", "1");
        manager.readParam("a", value);
        manager.eraseAllParams();
    }
    for (const char* call :
         {"  PersistenceManager::buildPersistence\n", "PersistenceManager::constructor\n",
          "  AppDataPersistence::constructor\n", "PersistenceManager::writeParam\n",
          "  AppDataPersistence::writeParam\n", "  AppDataPersistence::readPersistenceFile\n",
          "PersistenceManager::readParam\n", "  AppDataPersistence::readParam\n",
          "PersistenceManager::eraseAllParams\n", "  AppDataPersistence::eraseAllParams\n",
          "  AppDataPersistence::writePersistenceFile\n", "  AppDataPersistence::destructor\n",
          "PersistenceManager::destructor\n"})
        EXPECT_NE(std::string::npos, trace.text().find(call)) << call;
}

TEST_F(PersistenceManagerTest, TheCallsOfTheBinaryStoreAreTraced) {
    const TraceCapture trace;
    {
        BinaryPersistenceManager manager("Zevo", "Domain", PERSISTENCE_CURRENT_USER);
        int size = 0;
        manager.writeUnformattedParam("a", "1", 1);
        manager.writeUnformattedParam("b", "2", 1);
        const std::unique_ptr<char[]> data(manager.readUnformattedParam("a", size));
        manager.eraseAllParams();
        BinaryAppDataPersistence::ParamMap params;
        BinaryAppDataPersistence("Zevo", "Domain", PERSISTENCE_CURRENT_USER).readPersistenceFile(params);
    }
    for (const char* call :
         {"  BinaryPersistenceManager::buildPersistence\n", "BinaryPersistenceManager::constructor\n",
          "  BinaryAppDataPersistence::constructor\n", "BinaryPersistenceManager::writeUnformattedParam\n",
          "  BinaryAppDataPersistence::writeUnformattedParam\n", "t_Param::constructor\n",
          "t_Param::copyconstructor\n", "t_Param::operator=\n", "t_Param::marshall\n",
          "t_Param::destructor\n", "BinaryPersistenceManager::readUnformattedParam\n",
          "BinaryAppDataPersistence::readUnformattedParam\n", // clang leaves the result's "*" before it
          "BinaryPersistenceManager::eraseAllParams\n", "  BinaryAppDataPersistence::eraseAllParams\n",
          "  BinaryAppDataPersistence::writePersistenceFile\n",
          "BinaryAppDataPersistence::readPersistenceFile\n", "  BinaryAppDataPersistence::destructor\n",
          "BinaryPersistenceManager::destructor\n"})
        EXPECT_NE(std::string::npos, trace.text().find(call)) << call;
}

} // namespace
