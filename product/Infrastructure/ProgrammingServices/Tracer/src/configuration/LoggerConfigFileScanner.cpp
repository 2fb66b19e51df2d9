#include "LoggerConfigFileScanner.h"

KeywordToken LoggerConfigFileScanner::getToken() {
    KeywordToken token = scan();
    while (token.kind == KeywordToken::Filler)
        token = scan();
    return token;
}

void LoggerConfigFileScanner::readMoreData(char* buffer, int& count, int maximum) {
    m_file.readLine(buffer, count, maximum);
}
