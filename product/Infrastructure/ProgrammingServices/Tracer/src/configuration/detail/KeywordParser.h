#pragma once

#include "detail/KeywordLanguage.h"

namespace kf::detail {

/// Makes statements of the words of a configuration text and has them executed one by one, each as soon as
/// its line is complete. A subclass supplies the words and says what the statements do.
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
    /// The next word, which is no filler.
    virtual KeywordToken getToken() = 0;
    /// Called once, for the word that getToken has returned last. May end the process or throw.
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
