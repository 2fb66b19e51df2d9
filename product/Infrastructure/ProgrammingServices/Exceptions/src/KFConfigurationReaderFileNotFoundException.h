#pragma once

#include "KFConfigurationReaderException.h"

/// A configuration file is missing or cannot be read. Its message is always
/// "CONFIGURATIONFILEMANAGER_FILE_NOT_FOUND".
class KFConfigurationReaderFileNotFoundException : public KFConfigurationReaderException {
public:
    /// @param fileName the throwing source's stable path; @param line its stable line number
    KFConfigurationReaderFileNotFoundException(const char* fileName, int line);
};
