#pragma once

#include "Logger.h"
#include "Traced.h"
#include "detail/FileRing.h"
#include "detail/KFLock.h"

/// A logger for the test, registered and at first disabled; its files are in the test's folder.
class Logged : public Traced {
protected:
    Logged() {
        Logger::SetInstance(&m_logger);
        m_logger.SetFolderName(m_folder.path() + "/");
    }

    std::string path(int index) const { return m_folder / ("log_" + std::to_string(index) + ".txt"); }
    /// The content of a file of the ring "log"; "(none)" if it does not exist.
    std::string log(int index = 0) const {
        return access(path(index).c_str(), F_OK) == 0 ? readFile(path(index)) : "(none)";
    }
    const kf::detail::FileRing& logRing() {
        const kf::detail::KFLock lock(m_logger.getLock());
        return m_logger.getFileRing();
    }

    Logger m_logger;
};
