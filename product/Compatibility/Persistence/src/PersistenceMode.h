#pragma once

/// Whose parameters a store holds, and so the base folder of its file.
enum t_PersistenceMode {
    PERSISTENCE_ALL_USERS = 0,   ///< under FileSystemManagement::getCommonAppDataDirectory()
    PERSISTENCE_CURRENT_USER = 1 ///< under FileSystemManagement::getUserAppDataDirectory()
};
