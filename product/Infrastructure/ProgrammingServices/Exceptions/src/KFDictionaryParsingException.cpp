#include "KFDictionaryParsingException.h"

KFDictionaryParsingException::~KFDictionaryParsingException() noexcept = default;
