#pragma once

#include "Require.h"
#include "TemporaryFolder.h"
#include "TextFile.h"

#include <cstdint>
#include <cstdlib>
#include <string>

/// Application-data folders of the fuzz program's own, in which a store finds the bytes it is given.
class StoreFolder {
public:
    StoreFolder() { setenv("XDG_DATA_HOME", m_folder.path().c_str(), 1); }

    std::string file(const std::string& name) const { return m_folder / "Ferrow/Fuzz/" + name; }

private:
    TemporaryFolder m_folder;
};
