#include "BinaryPersistenceManager.h"

#include "BinaryAppDataPersistence.h"
#include "CallMarker.h"
#include "ContractChecks.h"

static const char KF_SOURCE[] = "product/Compatibility/Persistence/src/BinaryPersistenceManager";

BinaryPersistenceManager::BinaryPersistenceManager(const std::string& scope, const std::string& domain,
                                                   t_PersistenceMode mode) {
    TRACE_CONSTRUCTOR("BinaryPersistenceManager");
    m_persistenceObject = buildPersistence(scope, domain, mode);
}

BinaryPersistenceManager::~BinaryPersistenceManager() {
    TRACE_DESTRUCTOR("BinaryPersistenceManager");
    m_persistenceObject.reset(); // here, so that the trace shows its destruction as part of this call
}

std::unique_ptr<BinaryPersistence> BinaryPersistenceManager::buildPersistence(const std::string& scope,
                                                                              const std::string& domain,
                                                                              t_PersistenceMode mode) {
    TRACE_FUNCTION("BinaryPersistenceManager::buildPersistence");
    return std::make_unique<BinaryAppDataPersistence>(scope, domain, mode);
}

char* BinaryPersistenceManager::readUnformattedParam(const std::string& name, int& size) {
    TRACE_METHOD();
    KF_ENSURE(m_persistenceObject != NULL, 48);
    KF_ENSURE(!name.empty(), 49);
    return m_persistenceObject->readUnformattedParam(name, size);
}

bool BinaryPersistenceManager::writeUnformattedParam(const std::string& name, const char* data, int size) {
    TRACE_METHOD();
    KF_ENSURE(m_persistenceObject != NULL, 60);
    KF_ENSURE(!name.empty(), 61);
    return m_persistenceObject->writeUnformattedParam(name, data, size);
}

void BinaryPersistenceManager::eraseAllParams() {
    TRACE_METHOD();
    m_persistenceObject->eraseAllParams();
}
