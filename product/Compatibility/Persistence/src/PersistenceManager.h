#pragma once

#include "PersistenceMode.h"

#include <memory>
#include <string>

class StringPersistence;

/// The interface of a text parameter store for its users. It owns the store and checks the contract: an empty
/// name reports a violation (see ContractChecks.h) and, if that returns, is treated like any other. Nothing
/// is cached between two calls, so stores of one domain, in this process or another, see each other's writes.
/// Nothing throws; failures are traced as errors. Thread: any.
class PersistenceManager {
public:
    /// Creates the store of a domain, and the missing folders above its file; the first write creates the
    /// file. If a folder cannot be created, the writes fail.
    /// @param scope  the product's name
    /// @param mode   whose store it is
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
