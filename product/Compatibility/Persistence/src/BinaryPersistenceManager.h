#pragma once

#include "PersistenceMode.h"

#include <memory>
#include <string>

class BinaryPersistence;

/// The front of a binary parameter store: what a caller holds. It owns the store and checks the callers'
/// contract. Thread: any.
class BinaryPersistenceManager {
public:
    BinaryPersistenceManager(const std::string& scope, const std::string& domain, t_PersistenceMode mode);
    ~BinaryPersistenceManager();
    BinaryPersistenceManager(const BinaryPersistenceManager&) = delete;
    BinaryPersistenceManager& operator=(const BinaryPersistenceManager&) = delete;

    /// See BinaryPersistence. An empty name is a contract violation.
    char* readUnformattedParam(const std::string& name, int& size);
    bool writeUnformattedParam(const std::string& name, const char* data, int size);
    void eraseAllParams();

private:
    static std::unique_ptr<BinaryPersistence>
    buildPersistence(const std::string& scope, const std::string& domain, t_PersistenceMode mode);

    std::unique_ptr<BinaryPersistence> m_persistenceObject;
};
