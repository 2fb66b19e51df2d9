#pragma once

#include "LoggerScanner.h"
#include "detail/ConfigFileScanner.h"

/// The scanner of a log configuration file. A file that cannot be opened causes a warning and counts as
/// empty.
class LoggerConfigFileScanner : public kf::detail::ConfigFileScanner<LoggerScanner> {
public:
    using ConfigFileScanner::ConfigFileScanner;
};
