#pragma once

#include <string>

/// While it lives, the application-data folders that the system tells lie below a folder of the test's: "user" is the
/// user's and "var/lib" the machine's. One at a time.
class DataFolders {
public:
    explicit DataFolders(const std::string& folder);
    ~DataFolders();
    DataFolders(const DataFolders&) = delete;
    DataFolders& operator=(const DataFolders&) = delete;
};
