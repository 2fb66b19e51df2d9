#include "KFDictionaryFileException.h"

KFDictionaryFileException::~KFDictionaryFileException() noexcept = default;
