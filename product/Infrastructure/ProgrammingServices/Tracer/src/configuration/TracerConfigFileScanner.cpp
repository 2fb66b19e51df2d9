#include "TracerConfigFileScanner.h"

KeywordToken TracerConfigFileScanner::getToken() {
    KeywordToken token = scan();
    while (token.kind == KeywordToken::Filler)
        token = scan();
    return token;
}

void TracerConfigFileScanner::readMoreData(char* buffer, int& count, int maximum) {
    m_file.readLine(buffer, count, maximum);
}
