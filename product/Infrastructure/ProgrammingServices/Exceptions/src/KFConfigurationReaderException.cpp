#include "KFConfigurationReaderException.h"

KFConfigurationReaderException::~KFConfigurationReaderException() noexcept = default;

std::string KFConfigurationReaderException::toString() const {
    return std::string("Configuration File Manager Exception : ") + what() + " on file " + getFileName() +
           " at line " + std::to_string(getLine());
}
