#pragma once

#include "detail/KeywordParser.h"

namespace kf::detail {

/// Reports a syntax error in a configuration file of this language on standard error, with its line.
void tellSyntaxError(const KeywordLanguage& language, int line);
/// Finishes the trace and ends the process with status 1.
[[noreturn]] void exitAfterSyntaxError();

/// Reads a configuration file into a tracer or a logger. A syntax error is reported on standard error with
/// its line, and ends the process with status 1.
/// @tparam Parser   executes the statements of the language
/// @tparam Scanner  splits a file of that language into tokens
template <typename Parser, typename Scanner>
class ConfigFileParser : public Parser {
public:
    /// @param target  the tracer or the logger: borrowed; null: the file is only checked
    template <typename Target>
    ConfigFileParser(const char* fileName, Target* target) : Parser(target), m_scanner(fileName) {}

protected:
    KeywordToken getToken() override {
        KeywordToken token = m_scanner.getToken();
        m_line = token.line;
        return token;
    }
    void signalError(const char* /*message*/) override {
        tellSyntaxError(this->getLanguage(), m_line);
        exitAfterSyntaxError();
    }
    /// The line of the last token, counted from 1.
    int getLine() const { return m_line; }

private:
    Scanner m_scanner;
    int m_line = 0;
};

} // namespace kf::detail
