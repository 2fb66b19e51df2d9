#include "AppData.h"
#include "AppDataManager.h"
#include "PersistenceManager.h"
#include "StoreTest.h"

#include <memory>
#include <sys/stat.h>

namespace {

/// Each test has a domain of its own, because the manager and its stores live as long as the process.
class ParameterStoresTest : public StoreTest {
protected:
    ParameterStoresTest() { AppData::setGlobalScope("Zevo"); }

    std::string read(const std::string& name) const {
        std::string value = "(none)";
        m_data.readParam(name, value);
        return value;
    }
    std::string readBlock(const std::string& name) const {
        int size = 0;
        const std::unique_ptr<char[]> data(m_data.readUnformattedParam(name, size));
        return data != nullptr ? std::string(data.get(), static_cast<size_t>(size)) : "(none)";
    }

    const std::string m_domain = testing::UnitTest::GetInstance()->current_test_info()->name();
    AppData m_data{m_domain};
};

TEST_F(ParameterStoresTest, AWriteGoesToTheUsersFile) {
    EXPECT_TRUE(m_data.writeParam("a", "1"));
    EXPECT_TRUE(m_data.writeUnformattedParam("a", "1", 1));
    EXPECT_EQ(readFile(userFile(m_domain + ".dat")), "a=1\n");
    EXPECT_EQ(readFile(userFile(m_domain + "_binary.dat")), record("a", "1"));
}

TEST_F(ParameterStoresTest, AWriteForAllUsersGoesToTheMachinesFile) {
    EXPECT_TRUE(m_data.writeParamForAllUsers("a", "1"));
    EXPECT_TRUE(m_data.writeUnformattedParamForAllUsers("a", "1", 1));
    EXPECT_EQ(readFile(machineFile(m_domain + ".dat")), "a=1\n");
    EXPECT_EQ(readFile(machineFile(m_domain + "_binary.dat")), record("a", "1"));
}

TEST_F(ParameterStoresTest, ReadingFindsTheMachinesValueWhenTheUserHasNone) {
    m_data.writeParamForAllUsers("a", "machine");
    m_data.writeUnformattedParamForAllUsers("a", "machine", 7);
    EXPECT_EQ(read("a"), "machine");
    EXPECT_EQ(readBlock("a"), "machine");
}

TEST_F(ParameterStoresTest, TheUsersValueTakesPrecedence) {
    m_data.writeParamForAllUsers("a", "machine");
    m_data.writeParam("a", "user");
    m_data.writeUnformattedParamForAllUsers("a", "machine", 7);
    m_data.writeUnformattedParam("a", "user", 4);
    EXPECT_EQ(read("a"), "user");
    EXPECT_EQ(readBlock("a"), "user");
}

TEST_F(ParameterStoresTest, NobodysParameterIsNotFound) {
    EXPECT_EQ(read("a"), "(none)");
    EXPECT_EQ(readBlock("a"), "(none)");
}

TEST_F(ParameterStoresTest, RemoveDataErasesTheFourStoresAndLeavesTheDomainsFiles) {
    m_data.writeParam("a", "1");
    m_data.writeParamForAllUsers("a", "1");
    m_data.writeUnformattedParam("a", "1", 1);
    m_data.writeUnformattedParamForAllUsers("a", "1", 1);
    const std::string folder = userFile(m_domain);
    ASSERT_EQ(mkdir(folder.c_str(), 0777), 0);
    writeFile(folder + "/notes.txt", "mine");

    m_data.removeData();

    EXPECT_EQ(readFile(userFile(m_domain + ".dat")), "");
    EXPECT_EQ(readFile(machineFile(m_domain + ".dat")), "");
    EXPECT_EQ(readFile(userFile(m_domain + "_binary.dat")), "");
    EXPECT_EQ(readFile(machineFile(m_domain + "_binary.dat")), "");
    EXPECT_EQ(readFile(folder + "/notes.txt"), "mine");
}

TEST_F(ParameterStoresTest, RemoveDataRemovesTheCopiesOfDamagedFiles) {
    for (const std::string& file :
         {userFile(m_domain + "_binary.dat"), machineFile(m_domain + "_binary.dat")}) {
        AppDataManager::getInstance()->getBinaryPersistence(m_domain); // creates the folders
        writeFile(file, record("a", "1") + "x");
        m_data.writeUnformattedParam("b", "2", 1);
        m_data.writeUnformattedParamForAllUsers("b", "2", 1);
        EXPECT_EQ(readFile(file + ".damaged"), record("a", "1") + "x");
        m_data.removeData();
        struct stat status;
        EXPECT_NE(0, stat((file + ".damaged").c_str(), &status));
    }
}

TEST_F(ParameterStoresTest, TwoRequestsForADomainReturnTheSameStores) {
    AppDataManager* const manager = AppDataManager::getInstance();
    EXPECT_EQ(&manager->getPersistence(m_domain), &manager->getPersistence(m_domain));
    EXPECT_EQ(&manager->getBinaryPersistence(m_domain), &manager->getBinaryPersistence(m_domain));
    EXPECT_NE(manager->getPersistence(m_domain).first, manager->getPersistence(m_domain).second);
}

TEST_F(ParameterStoresTest, AStoreKeepsTheScopeThatItWasMadeWith) {
    m_data.writeParam("a", "1");
    m_data.writeUnformattedParamForAllUsers("a", "1", 1);
    AppData::setGlobalScope("Other");
    m_data.writeParam("b", "2");
    m_data.writeUnformattedParamForAllUsers("b", "2", 1);
    AppData::setGlobalScope("Zevo");
    EXPECT_EQ(readFile(userFile(m_domain + ".dat")), "a=1\nb=2\n");
    EXPECT_EQ(readFile(machineFile(m_domain + "_binary.dat")), record("a", "1") + record("b", "2"));
}

} // namespace
