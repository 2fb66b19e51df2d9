#include "DataFolders.h"

#include <cstdlib>

DataFolders::DataFolders(const std::string& folder) {
    setenv("XDG_DATA_HOME", (folder + "/user").c_str(), 1);
    setenv("PLATFORM_ROOT", folder.c_str(), 1);
}

DataFolders::~DataFolders() {
    unsetenv("XDG_DATA_HOME");
    unsetenv("PLATFORM_ROOT");
}
