#pragma once

#include "LoggerScanner.h"
#include "detail/ConfigFileStream.h"

/// Makes words of a log configuration file. A file that cannot be opened only warns, and is empty.
class LoggerConfigFileScanner : public LoggerScanner {
public:
    explicit LoggerConfigFileScanner(const char* fileName) : m_file("log", fileName) {}

    /// The next word that is no filler.
    KeywordToken getToken();

protected:
    void readMoreData(char* buffer, int& count, int maximum) override;

private:
    ConfigFileStream m_file;
};
