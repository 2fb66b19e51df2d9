#pragma once

#include <string>

/// While one exists, the system's application-data folders are below a folder of the test: "user" is the
/// user's and "var/lib" the machine's. One at a time.
class DataFolders {
public:
    explicit DataFolders(const std::string& folder);
    ~DataFolders();
    DataFolders(const DataFolders&) = delete;
    DataFolders& operator=(const DataFolders&) = delete;
};
