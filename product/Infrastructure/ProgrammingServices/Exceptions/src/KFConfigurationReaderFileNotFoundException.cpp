#include "KFConfigurationReaderFileNotFoundException.h"

KFConfigurationReaderFileNotFoundException::KFConfigurationReaderFileNotFoundException(const char* fileName,
                                                                                       int line)
    : KFConfigurationReaderException("CONFIGURATIONFILEMANAGER_FILE_NOT_FOUND", fileName, line) {}
