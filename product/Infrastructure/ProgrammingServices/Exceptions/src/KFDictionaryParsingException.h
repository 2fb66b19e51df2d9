#pragma once

#include "KFDictionaryException.h"

/// A property list's text is not what the reader expects.
class KFDictionaryParsingException : public KFDictionaryException {
public:
    using KFDictionaryException::KFDictionaryException;
};
