#pragma once

#include "StringPersistence.h"
#include "detail/PersistenceFile.h"

#include <map>
#include <string>

/// Parameter names and their values, in ascending byte-wise order of names.
using t_paramMap = std::map<std::string, std::string>;

/// Text parameters in one file per domain: a line "name=value" for each, in ascending order of names, without
/// header, comments or escaping. A value may hold "="; neither may hold a line feed. See docs/parameters.md.
/// Thread: any.
class AppDataPersistence : public StringPersistence {
public:
    /// The path is computed once: a later change of the global scope does not move the store.
    AppDataPersistence(const std::string& scope, const std::string& domain, t_PersistenceMode mode);
    ~AppDataPersistence() override;

    /// Refuses, before anything is changed, what could not be read back: an empty name, "=" or a line feed in
    /// the name, a line feed in the value.
    bool writeParam(const std::string& name, const std::string& value) override;
    bool readParam(const std::string& name, std::string& value) override;
    /// Empties the file; a missing one is not created.
    void eraseAllParams() override;

    /// The path of a domain's parameter file. Creates the missing folders above it.
    static std::string getPersistenceFilePath(const std::string& scope, const std::string& domain,
                                              t_PersistenceMode mode);

    /// Adds the file's parameters to the map. @return false if the file exists but cannot be read
    bool readPersistenceFile(t_paramMap& params) const;

    /// Replaces the file's content by the map's.
    /// @return false, with the reason traced, if that failed or a parameter could not be read back (see
    /// writeParam); the old content then remains
    bool writePersistenceFile(const t_paramMap& params) const;

private:
    kf::detail::PersistenceFile m_file;
};
