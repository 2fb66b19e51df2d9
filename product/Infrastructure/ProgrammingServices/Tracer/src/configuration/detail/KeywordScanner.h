#pragma once

#include "detail/KeywordLanguage.h"

namespace kf::detail {

/// Splits a configuration text into tokens. A subclass supplies the text.
///
/// The longest match wins; of two equally long ones, the statement's keyword wins. Keywords are recognised
/// everywhere; level words, numbers and names only behind a keyword that takes them. A last line without "\n"
/// is ignored.
class KeywordScanner {
public:
    /// @param language  borrowed, of static storage duration
    explicit KeywordScanner(const KeywordLanguage& language) : m_language(language) {}
    virtual ~KeywordScanner() = default;

    KeywordScanner(const KeywordScanner&) = delete;
    KeywordScanner& operator=(const KeywordScanner&) = delete;

    /// The next token, fillers included; after the end of the text always EndOfFile.
    KeywordToken scan();
    /// The next token that is not a filler.
    KeywordToken getToken();

protected:
    const KeywordLanguage& getLanguage() const { return m_language; }
    /// Supplies the next piece of the text, usually a line: stores at most `maximum` bytes in the buffer and
    /// their number in `count`; 0 at the end of the text.
    virtual void readMoreData(char* buffer, int& count, int maximum) = 0;

private:
    bool readLine();
    KeywordToken token(KeywordToken::Kind kind, std::size_t length, std::int32_t value = 0);
    bool isBlank(std::size_t position) const;
    std::size_t fillerLength() const;
    KeywordToken scanWord();

    const KeywordLanguage& m_language;
    std::string m_text;         // what was read, from the current line on
    std::size_t m_lineEnd = 0;  // behind the current line's "\n"
    std::size_t m_position = 0; // of the next word, at most m_lineEnd
    int m_line = 0;
    KeywordArgument m_mode = KeywordArgument::None;
};

} // namespace kf::detail
