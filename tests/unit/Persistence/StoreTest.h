#pragma once

#include "DataFolders.h"
#include "TemporaryFolder.h"
#include "TextFile.h"

#include <gtest/gtest.h>
#include <string>

/// Gives each test application-data folders of its own, the user's and the machine's.
class StoreTest : public testing::Test {
protected:
    std::string userFile(const std::string& name) const { return m_folder / "user/Ferrow/Zevo/" + name; }
    std::string machineFile(const std::string& name) const {
        return m_folder / "var/lib/Ferrow/Zevo/" + name;
    }

    TemporaryFolder m_folder;

private:
    DataFolders m_dataFolders{m_folder.path()};
};

/// A length as 32 bits, little-endian, as in a binary parameter file.
inline std::string length32(unsigned long value) {
    std::string text;
    for (int i = 0; i < 4; ++i)
        text += static_cast<char>(value >> 8 * i & 0xFF);
    return text;
}

/// One record of a binary parameter file.
inline std::string record(const std::string& name, const std::string& data) {
    return length32(name.size() + 1) + name + '\0' + length32(data.size()) + data;
}
