#pragma once

#include "PersistenceMode.h"

#include <memory>
#include <string>

class StringPersistence;

/// The front of a text parameter store: what a caller holds. It owns the store and checks the callers'
/// contract. Thread: any.
class PersistenceManager {
public:
    PersistenceManager(const std::string& scope, const std::string& domain, t_PersistenceMode mode);
    ~PersistenceManager();
    PersistenceManager(const PersistenceManager&) = delete;
    PersistenceManager& operator=(const PersistenceManager&) = delete;

    /// See StringPersistence. An empty name is a contract violation.
    bool readParam(const std::string& name, std::string& value);
    bool writeParam(const std::string& name, const std::string& value);
    void eraseAllParams();

private:
    static std::unique_ptr<StringPersistence>
    buildPersistence(const std::string& scope, const std::string& domain, t_PersistenceMode mode);

    std::unique_ptr<StringPersistence> m_persistenceObject;
};
