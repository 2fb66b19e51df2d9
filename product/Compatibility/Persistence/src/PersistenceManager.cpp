#include "PersistenceManager.h"

#include "AppDataPersistence.h"
#include "CallMarker.h"
#include "ContractChecks.h"

static const char KF_SOURCE[] = "product/Compatibility/Persistence/src/PersistenceManager";

PersistenceManager::PersistenceManager(const std::string& scope, const std::string& domain,
                                       t_PersistenceMode mode) {
    TRACE_CONSTRUCTOR("PersistenceManager");
    m_persistenceObject = buildPersistence(scope, domain, mode);
}

PersistenceManager::~PersistenceManager() {
    TRACE_DESTRUCTOR("PersistenceManager");
    m_persistenceObject.reset(); // here, so that the trace shows its destruction as part of this call
}

std::unique_ptr<StringPersistence> PersistenceManager::buildPersistence(const std::string& scope,
                                                                        const std::string& domain,
                                                                        t_PersistenceMode mode) {
    TRACE_FUNCTION("PersistenceManager::buildPersistence");
    return std::make_unique<AppDataPersistence>(scope, domain, mode);
}

bool PersistenceManager::readParam(const std::string& name, std::string& value) {
    TRACE_METHOD();
    KF_ENSURE(m_persistenceObject != NULL, 48);
    KF_ENSURE(!name.empty(), 49);
    return m_persistenceObject->readParam(name, value);
}

bool PersistenceManager::writeParam(const std::string& name, const std::string& value) {
    TRACE_METHOD();
    KF_ENSURE(m_persistenceObject != NULL, 60);
    KF_ENSURE(!name.empty(), 61);
    return m_persistenceObject->writeParam(name, value);
}

void PersistenceManager::eraseAllParams() {
    TRACE_METHOD();
    m_persistenceObject->eraseAllParams();
}
