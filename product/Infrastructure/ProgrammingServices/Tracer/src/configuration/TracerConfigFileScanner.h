#pragma once

#include "TracerScanner.h"
#include "detail/ConfigFileStream.h"

/// Makes words of a trace configuration file. A file that cannot be opened only warns, and is empty.
class TracerConfigFileScanner : public TracerScanner {
public:
    explicit TracerConfigFileScanner(const char* fileName) : m_file("tracer", fileName) {}

    /// The next word that is no filler.
    KeywordToken getToken();

protected:
    void readMoreData(char* buffer, int& count, int maximum) override;

private:
    ConfigFileStream m_file;
};
