#include "KFConfigurationReaderException.h"

std::string KFConfigurationReaderException::toString() const {
    return std::string("Configuration File Manager Exception : ") + what() + " on file " + getFileName() +
           " at line " + std::to_string(getLine());
}
