#pragma once

#include "detail/KeywordLanguage.h"

namespace kf::detail {

/// Parses a configuration text, and executes each statement as soon as its line is complete. A subclass supplies the
/// tokens and executes the statements.
class KeywordParser {
public:
    /// @param language  borrowed, of static storage duration
    explicit KeywordParser(const KeywordLanguage& language) : m_language(language) {}
    virtual ~KeywordParser() = default;

    KeywordParser(const KeywordParser&) = delete;
    KeywordParser& operator=(const KeywordParser&) = delete;

    /// Runs to the end of the text, or to the first syntax error if signalError returns.
    void parse();

protected:
    /// The next token; never a Filler.
    virtual KeywordToken getToken() = 0;
    /// Called once, for the token that getToken returned last. May end the process or throw.
    virtual void signalError(const char* message) = 0;
    /// Executes a statement, given by its index in its table. Never called with too few arguments.
    virtual void execute(int statement, const KeywordArguments& arguments) = 0;

    const KeywordLanguage& getLanguage() const { return m_language; }

private:
    enum class Outcome { Complete, EndOfFile, Wrong };

    Outcome parseStatement(int statement);

    const KeywordLanguage& m_language;
};

} // namespace kf::detail
