#pragma once

#include "PersistenceMode.h"

#include <memory>
#include <string>

class StringPersistence;

/// The front of a text parameter store: what a caller holds. It owns the store and checks the callers'
/// contract: an empty name reports a violation (see ContractChecks.h) and, where that returns, is looked for like
/// any other. Nothing is kept in memory between two calls, so stores of one domain, in this process or another,
/// see each other's writes. Nothing throws; what fails is traced as an error. Thread: any.
class PersistenceManager {
public:
    /// Makes the store of a domain: the folders above its file are created when they are missing, the file with
    /// the first write. A folder that cannot be made shows when the file is written.
    /// @param scope  the product's name; @param mode whose store it is
    PersistenceManager(const std::string& scope, const std::string& domain, t_PersistenceMode mode);
    ~PersistenceManager();
    PersistenceManager(const PersistenceManager&) = delete;
    PersistenceManager& operator=(const PersistenceManager&) = delete;

    /// See StringPersistence for each.
    bool readParam(const std::string& name, std::string& value);
    bool writeParam(const std::string& name, const std::string& value);
    void eraseAllParams();

private:
    static std::unique_ptr<StringPersistence>
    buildPersistence(const std::string& scope, const std::string& domain, t_PersistenceMode mode);

    std::unique_ptr<StringPersistence> m_persistenceObject;
};
