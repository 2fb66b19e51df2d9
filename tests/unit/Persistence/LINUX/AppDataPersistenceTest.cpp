#include "AppDataPersistence.h"

#include "OtherProcess.h"
#include "StoreTest.h"

#include <cstdlib>
#include <unistd.h>

// On this host, environment variables say where the user's data is.

using AppDataPersistenceLinuxTest = StoreTest;

TEST_F(AppDataPersistenceLinuxTest, AWriteFailsAndMakesNothingInAHomeThatDoesNotExist) {
    EXPECT_TRUE(inAnotherProcess([this] {
        unsetenv("XDG_DATA_HOME");
        setenv("HOME", (m_folder / "missing/home").c_str(), 1);
        AppDataPersistence store("Zevo", "Domain", PERSISTENCE_CURRENT_USER);
        std::string value;
        return !store.readParam("a", value) && !store.writeParam("a", "1") &&
               access((m_folder / "missing").c_str(), F_OK) != 0;
    }));
}
