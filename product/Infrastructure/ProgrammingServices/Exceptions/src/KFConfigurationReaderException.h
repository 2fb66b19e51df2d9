#pragma once

#include "KFException.h"

/// A configuration reader has failed.
class KFConfigurationReaderException : public KFException {
public:
    using KFException::KFException;

    /// As in the base class, in another form: "Configuration File Manager Exception : X on file F at
    /// line 7".
    std::string toString() const override;
};
