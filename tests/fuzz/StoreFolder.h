#pragma once

#include "DataFolders.h"
#include "Require.h"
#include "TemporaryFolder.h"
#include "TextFile.h"

#include <cstdint>
#include <cstdlib>
#include <string>

/// Application-data folders for the fuzz program; the input is written into the file of a store there.
class StoreFolder {
public:
    std::string file(const std::string& name) const { return m_folder / "user/Ferrow/Fuzz/" + name; }

private:
    TemporaryFolder m_folder;
    DataFolders m_dataFolders{m_folder.path()};
};
