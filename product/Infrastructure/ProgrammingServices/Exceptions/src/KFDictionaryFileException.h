#pragma once

#include "KFDictionaryException.h"

/// A property list's file cannot be opened or read.
class KFDictionaryFileException : public KFDictionaryException {
public:
    using KFDictionaryException::KFDictionaryException;
};
