#pragma once

#include "TemporaryFolder.h"

/// While one exists, the program's locale has a decimal comma.
class DecimalComma {
public:
    DecimalComma();
    ~DecimalComma();
    DecimalComma(const DecimalComma&) = delete;
    DecimalComma& operator=(const DecimalComma&) = delete;

private:
    TemporaryFolder m_folder;
};
