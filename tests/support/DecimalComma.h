#pragma once

#include "TemporaryFolder.h"

/// The program's locale has a decimal comma as long as this lives.
class DecimalComma {
public:
    DecimalComma();
    ~DecimalComma();
    DecimalComma(const DecimalComma&) = delete;
    DecimalComma& operator=(const DecimalComma&) = delete;

private:
    TemporaryFolder m_folder;
};
