#pragma once

#include "Require.h"
#include "TemporaryFolder.h"
#include "TextFile.h"
#include "detail/KeywordScanner.h"

#include <algorithm>
#include <cstdlib>
#include <string>
#include <vector>

struct SyntaxError {};

/// A language's scanner that reads a text in memory, in pieces of a given size.
template <typename Scanner>
class PieceScanner : public Scanner {
public:
    PieceScanner(const std::string& text, std::size_t piece) : m_text(text), m_piece(piece) {}

protected:
    void readMoreData(char* buffer, int& count, int maximum) override {
        const std::size_t size =
            std::min({m_piece, m_text.size() - m_read, static_cast<std::size_t>(maximum)});
        m_text.copy(buffer, size, m_read);
        m_read += size;
        count = static_cast<int>(size);
    }

private:
    const std::string& m_text;
    std::size_t m_piece;
    std::size_t m_read = 0;
};

/// A language's parser over such a scanner; stops at the first syntax error.
template <typename Scanner, typename Parser>
class PieceParser : public Parser {
public:
    template <typename Target>
    PieceParser(const std::string& text, std::size_t piece, Target* target)
        : Parser(target), m_scanner(text, piece) {}

    /// Returns the line of the syntax error, 0 without one.
    int errorLine() {
        try {
            this->parse();
        } catch (const SyntaxError&) {
            return m_line;
        }
        return 0;
    }

protected:
    kf::detail::KeywordToken getToken() override {
        kf::detail::KeywordToken token = m_scanner.getToken();
        m_line = token.line;
        return token;
    }
    void signalError(const char* /*message*/) override { throw SyntaxError(); }

private:
    PieceScanner<Scanner> m_scanner;
    int m_line = 0;
};

template <typename Scanner>
std::vector<std::string> tokensOf(Scanner& scanner) {
    std::vector<std::string> tokens;
    for (kf::detail::KeywordToken token = scanner.getToken();
         token.kind != kf::detail::KeywordToken::EndOfFile; token = scanner.getToken())
        tokens.push_back(std::to_string(token.kind) + " " + std::to_string(token.value) + " " +
                         std::to_string(token.line) + " " + token.text);
    return tokens;
}

/// A file yields the same tokens as its text, read whole or in pieces.
template <typename Scanner, typename FileScanner>
void checkWords(const std::string& text) {
    PieceScanner<Scanner> whole(text, text.size());
    const std::vector<std::string> words = tokensOf(whole);
    PieceScanner<Scanner> pieces(text, 3);
    require(tokensOf(pieces) == words);

    const TemporaryFolder folder;
    writeFile(folder / "configuration", text);
    FileScanner file((folder / "configuration").c_str());
    require(tokensOf(file) == words);
}
