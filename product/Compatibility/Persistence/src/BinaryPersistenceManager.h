#pragma once

#include "PersistenceMode.h"

#include <memory>
#include <string>

class BinaryPersistence;

/// The front of a binary parameter store: what a caller holds. It owns the store and checks the callers'
/// contract: an empty name reports a violation (see ContractChecks.h) and, where that returns, is looked for like
/// any other. Nothing is kept in memory between two calls, so stores of one domain, in this process or another,
/// see each other's writes. Nothing throws; what fails is traced as an error. Thread: any.
class BinaryPersistenceManager {
public:
    /// Makes the store of a domain: the folders above its file are created when they are missing, the file with
    /// the first write. A folder that cannot be made shows when the file is written.
    /// @param scope  the product's name; @param mode whose store it is
    BinaryPersistenceManager(const std::string& scope, const std::string& domain, t_PersistenceMode mode);
    ~BinaryPersistenceManager();
    BinaryPersistenceManager(const BinaryPersistenceManager&) = delete;
    BinaryPersistenceManager& operator=(const BinaryPersistenceManager&) = delete;

    /// See BinaryPersistence for each.
    char* readUnformattedParam(const std::string& name, int& size);
    bool writeUnformattedParam(const std::string& name, const char* data, int size);
    void eraseAllParams();

private:
    static std::unique_ptr<BinaryPersistence>
    buildPersistence(const std::string& scope, const std::string& domain, t_PersistenceMode mode);

    std::unique_ptr<BinaryPersistence> m_persistenceObject;
};
