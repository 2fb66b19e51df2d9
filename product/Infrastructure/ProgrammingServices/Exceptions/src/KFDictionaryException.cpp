#include "KFDictionaryException.h"

KFDictionaryException::~KFDictionaryException() noexcept = default;
