#pragma once

#include "BinaryPersistence.h"
#include "Param.h"
#include "detail/PersistenceFile.h"

#include <map>
#include <string>

/// Blocks of raw bytes in one file per domain: the records (t_Param) in ascending byte-wise order of names,
/// one after another, without header or trailer. See docs/parameters.md.
///
/// A file that is damaged (a length runs past the end) is read up to the damage, which every reading traces.
/// The first write to it keeps the damaged file as pathBeside(path, ".damaged"), since it drops what could
/// not be read. A copy that is there already stays: it holds what was lost first.
///
/// A subclass may keep its blocks in another way: the parameters are read and written by readPersistenceFile
/// and writePersistenceFile. Thread: any.
class BinaryAppDataPersistence : public BinaryPersistence {
public:
    using ParamMap = std::map<std::string, t_Param>;

    /// The path is computed once: a later change of the global scope does not move the store.
    BinaryAppDataPersistence(const std::string& scope, const std::string& domain, t_PersistenceMode mode);
    ~BinaryAppDataPersistence() override;

    /// Refuses, before anything is touched, what could not be read back: an empty name, a negative size, no
    /// data with a size, a record of 2 GB and more.
    bool writeUnformattedParam(const std::string& name, const char* data, int size) override;
    char* readUnformattedParam(const std::string& name, int& size) override;
    /// Empties the file; a missing one is not created. Removes the copy of a damaged one.
    void eraseAllParams() override;

    /// Where the blocks of a domain lie. Creates the folders above the file when they are missing.
    virtual std::string getPersistenceFilePath(const std::string& scope, const std::string& domain,
                                               t_PersistenceMode mode);

    /// Adds the file's blocks to the map. @return false when there is a file and it cannot be read
    virtual bool readPersistenceFile(ParamMap& params);

    /// Replaces the file's content by the map's; what a damage hides from reading is kept, unless the map is
    /// empty. @return false, with the reason traced, when that failed; the old content then stands
    virtual bool writePersistenceFile(const ParamMap& params);

private:
    void traceDamage(const std::string& content, std::size_t end) const;
    std::string getDamagedPath() const;
    bool keepDamagedFile() const;
    bool removeDamagedFile() const;

    kf::detail::PersistenceFile m_file;
};
