#pragma once

#include "KFException.h"

/// A property list could not be loaded.
class KFDictionaryException : public KFException {
public:
    using KFException::KFException;
};
