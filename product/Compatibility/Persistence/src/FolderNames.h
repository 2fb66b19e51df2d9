#pragma once

#include "FileSystemManagement.h"
#include "PersistenceMode.h"

#include <string>

// Folders directly under an application-data base directory, and the maker's. Each source that includes this
// has its own constants.

/// The product family's folder under each base directory.
static const std::string FOLDERNAME_FERROW = "Ferrow";
/// The maker's folder. No path is built from it.
static const std::string FOLDERNAME_BRISEL = "Brisel";
/// The scope of the downloads that all products share.
static const std::string FOLDERNAME_DOWNLOADS = "Downloads";

namespace kf::detail {

/// The product family's folder, without a trailing separator. Creates nothing.
inline std::string familyFolder(t_PersistenceMode mode) {
    const std::string base = mode == PERSISTENCE_ALL_USERS ? FileSystemManagement::getCommonAppDataDirectory()
                                                           : FileSystemManagement::getUserAppDataDirectory();
    return base + FileSystemManagement::getFolderSeparator() + FOLDERNAME_FERROW;
}

} // namespace kf::detail
