#pragma once

#include "detail/ConfigFileStream.h"
#include "detail/KeywordScanner.h"

namespace kf::detail {

/// The scanner of a configuration file. A file that cannot be opened causes a warning and counts as empty.
/// @tparam Scanner  one of the two languages' scanners
template <typename Scanner>
class ConfigFileScanner : public Scanner {
public:
    explicit ConfigFileScanner(const char* fileName) : m_file(this->getLanguage().name, fileName) {}

protected:
    void readMoreData(char* buffer, int& count, int maximum) override {
        m_file.readLine(buffer, count, maximum);
    }

private:
    ConfigFileStream m_file;
};

} // namespace kf::detail
