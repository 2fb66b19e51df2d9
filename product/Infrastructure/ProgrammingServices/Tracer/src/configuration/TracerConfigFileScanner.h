#pragma once

#include "TracerScanner.h"
#include "detail/ConfigFileScanner.h"

/// The scanner of a trace configuration file. A file that cannot be opened causes a warning and counts as
/// empty.
class TracerConfigFileScanner : public kf::detail::ConfigFileScanner<TracerScanner> {
public:
    using ConfigFileScanner::ConfigFileScanner;
};
