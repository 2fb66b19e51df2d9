#pragma once

#include "PersistenceMode.h"

#include <memory>
#include <string>

class BinaryPersistence;

/// The interface of a binary parameter store for its users. It owns the store and checks the contract: an
/// empty name reports a violation (see ContractChecks.h) and, if that returns, is treated like any other.
/// Nothing is cached between two calls, so stores of one domain, in this process or another, see each other's
/// writes. Nothing throws; failures are traced as errors. Thread: any.
class BinaryPersistenceManager {
public:
    /// Creates the store of a domain, and the missing folders above its file; the first write creates the
    /// file. If a folder cannot be created, the writes fail.
    /// @param scope  the product's name
    /// @param mode   whose store it is
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
