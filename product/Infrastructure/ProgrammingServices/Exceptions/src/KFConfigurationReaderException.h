#pragma once

#include "KFException.h"

/// A configuration reader could not do its work.
class KFConfigurationReaderException : public KFException {
public:
    using KFException::KFException;

    /// As in the base, in this branch's own words: "Configuration File Manager Exception : X on file F at
    /// line 7".
    std::string toString() const override;
};
