#pragma once

#include "BinaryPersistence.h"
#include "Param.h"
#include "detail/PersistenceFile.h"

#include <map>
#include <string>

/// Blocks of raw bytes in one file per domain: the records (t_Param) in ascending byte-wise order of names,
/// one after another, without header or trailer. See docs/parameters.md.
///
/// A damaged file (a length that runs past the end) is read up to the damage, which every read traces. The
/// first write to it saves a copy of the damaged file as pathBeside(path, ".damaged"), since the write drops
/// what could not be read. An older copy is not overwritten: it holds what was lost first.
///
/// A subclass may store its blocks differently: parameters are read and written through readPersistenceFile
/// and writePersistenceFile. Thread: any.
class BinaryAppDataPersistence : public BinaryPersistence {
public:
    using ParamMap = std::map<std::string, t_Param>;

    /// The path is computed once: a later change of the global scope does not move the store.
    BinaryAppDataPersistence(const std::string& scope, const std::string& domain, t_PersistenceMode mode);
    ~BinaryAppDataPersistence() override;

    /// Refuses, before anything is changed, what could not be read back: an empty name, a negative size, no
    /// data with a size, a record of 2 GB and more.
    bool writeUnformattedParam(const std::string& name, const char* data, int size) override;
    char* readUnformattedParam(const std::string& name, int& size) override;
    /// Empties the file, and removes the copy of a damaged one. A missing file is not created.
    void eraseAllParams() override;

    /// The path of a domain's block file. Creates the missing folders above it.
    virtual std::string getPersistenceFilePath(const std::string& scope, const std::string& domain,
                                               t_PersistenceMode mode);

    /// Adds the file's blocks to the map. @return false if the file exists but cannot be read
    virtual bool readPersistenceFile(ParamMap& params);

    /// Replaces the file's content by the map's. If the file is damaged, saves a copy first, unless the map
    /// is empty.
    /// @return false, with the reason traced, on failure; the old content then remains
    virtual bool writePersistenceFile(const ParamMap& params);

private:
    void traceDamage(const std::string& content, std::size_t end) const;
    std::string getDamagedPath() const;
    bool keepDamagedFile() const;
    bool removeDamagedFile() const;

    kf::detail::PersistenceFile m_file;
};
