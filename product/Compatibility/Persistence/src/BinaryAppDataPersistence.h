#pragma once

#include "BinaryPersistence.h"
#include "Param.h"
#include "PersistenceFile.h"

#include <map>
#include <string>

/// Blocks of raw bytes in one file per domain: the records (t_Param) in ascending byte-wise order of names,
/// one after another, without header or trailer. See docs/parameters.md.
///
/// A file that is damaged (a length that runs past the end, say) is read up to the damage. The first write to
/// it keeps the damaged file as path + ".damaged", since it drops what could not be read. Thread: any.
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
    /// Empties the file; a missing one is not created.
    void eraseAllParams() override;

    /// Where the blocks of a domain lie. Creates the folders above the file when they are missing.
    virtual std::string getPersistenceFilePath(const std::string& scope, const std::string& domain,
                                               t_PersistenceMode mode);

    /// Adds the file's blocks to the map. @return false when there is a file and it cannot be read
    virtual bool readPersistenceFile(ParamMap& params);

    /// Replaces the file's content by the map's. @return false when that failed; the old content then stands
    virtual bool writePersistenceFile(const ParamMap& params);

private:
    /// False, with the place traced, when the content is damaged; what precedes the damage is in the map.
    bool readRecords(const std::string& content, ParamMap& params) const;
    bool keepDamagedFile(const std::string& content) const;

    PersistenceFile m_file;
};
