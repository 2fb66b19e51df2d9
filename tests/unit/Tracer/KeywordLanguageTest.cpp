#include "detail/KeywordParser.h"
#include "detail/KeywordScanner.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using namespace kf::detail;

using testing::ElementsAre;

namespace {

constexpr KeywordStatement STATEMENTS[] = {{"X_ON", KeywordArgument::None},
                                           {"X_NAME", KeywordArgument::Name},
                                           {"X_NAMES", KeywordArgument::Names},
                                           {"X_NUMBER", KeywordArgument::Number},
                                           {"X_LEVELS", KeywordArgument::Levels}};
constexpr KeywordLevel LEVELS[] = {{"X_LOW", 1}, {"X_LOWER", 2}, {"X_TOP", 256}};
constexpr KeywordLanguage LANGUAGE = {STATEMENTS, 5, LEVELS, 3};

/// Scans a text that it reads in pieces of a given size.
class TextScanner : public KeywordScanner {
public:
    TextScanner(std::string text, std::size_t piece)
        : KeywordScanner(LANGUAGE), m_text(std::move(text)), m_piece(piece) {}

protected:
    void readMoreData(char* buffer, int& count, int maximum) override {
        const std::size_t size =
            std::min({m_piece, m_text.size() - m_read, static_cast<std::size_t>(maximum)});
        m_text.copy(buffer, size, m_read);
        m_read += size;
        count = static_cast<int>(size);
    }

private:
    std::string m_text;
    std::size_t m_piece;
    std::size_t m_read = 0;
};

class TextParser : public KeywordParser {
public:
    TextParser(std::string text, std::size_t piece)
        : KeywordParser(LANGUAGE), m_scanner(std::move(text), piece) {}
    std::vector<std::string> m_result;

protected:
    KeywordToken getToken() override {
        KeywordToken token = m_scanner.getToken();
        m_line = token.line;
        return token;
    }
    void signalError(const char* message) override {
        EXPECT_STREQ(message, "parse error");
        m_result.push_back("error in line " + std::to_string(m_line));
    }
    void execute(int statement, const KeywordArguments& arguments) override {
        std::string text(STATEMENTS[statement].keyword);
        for (const std::string& name : arguments.names)
            text += " " + name;
        if (STATEMENTS[statement].argument == KeywordArgument::Number)
            text += " " + std::to_string(arguments.number);
        if (STATEMENTS[statement].argument == KeywordArgument::Levels)
            text += " " + std::to_string(arguments.levels);
        m_result.push_back(text);
    }

private:
    TextScanner m_scanner;
    int m_line = 0;
};

/// The effects of parsing the text, which must be the same for every size of pieces.
std::vector<std::string> resultOf(const std::string& text) {
    TextParser whole(text, 8192);
    whole.parse();
    for (const std::size_t piece : {std::size_t(1), std::size_t(7), std::size_t(100000)}) {
        TextParser pieces(text, piece);
        pieces.parse();
        EXPECT_EQ(pieces.m_result, whole.m_result) << "in pieces of " << piece;
    }
    return whole.m_result;
}

} // namespace

TEST(KeywordScanner, WordsKnowTheirColumns) {
    TextScanner scanner("X_ON\n\tX_NAMES  a bc\n", 3);
    std::vector<std::string> places;
    for (KeywordToken token = scanner.scan(); token.kind != KeywordToken::EndOfFile; token = scanner.scan())
        if (token.kind != KeywordToken::Filler)
            places.push_back(std::to_string(token.line) + ":" + std::to_string(token.column));
    EXPECT_THAT(places, ElementsAre("1:1", "1:5", "2:2", "2:11", "2:13", "2:15"));
}

TEST(KeywordLanguage, EmptyTextHasNoStatement) {
    EXPECT_THAT(resultOf(""), ElementsAre());
    EXPECT_THAT(resultOf("\n\n  \n\t\n"), ElementsAre());
}

TEST(KeywordLanguage, StatementsAreExecutedInTheirOrder) {
    EXPECT_THAT(resultOf("X_ON\nX_NAME a\nX_NAMES a b c\nX_NUMBER 12\nX_LEVELS X_LOW X_TOP\n"),
                ElementsAre("X_ON", "X_NAME a", "X_NAMES a b c", "X_NUMBER 12", "X_LEVELS 257"));
}

TEST(KeywordLanguage, LetterCaseOfKeywordsAndLevelsDoesNotMatter) {
    EXPECT_THAT(resultOf("x_on\nX_nAmE Case\nx_levels x_LOW X_top\n"),
                ElementsAre("X_ON", "X_NAME Case", "X_LEVELS 257"));
}

TEST(KeywordLanguage, BlanksAndTabsAreSkipped) {
    EXPECT_THAT(resultOf(" \tX_NAME \t a \t\n"), ElementsAre("X_NAME a"));
}

TEST(KeywordLanguage, CarriageReturnBeforeTheLineFeedIsABlank) {
    EXPECT_THAT(resultOf("X_ON\r\nX_NAME a\r\n\r\n# comment\r\n"), ElementsAre("X_ON", "X_NAME a"));
}

TEST(KeywordLanguage, CarriageReturnElsewhereIsAnError) {
    EXPECT_THAT(resultOf("X_ON\rX_ON\n"), ElementsAre("error in line 1"));
    EXPECT_THAT(resultOf("X_ON\n\r\r\n"), ElementsAre("X_ON", "error in line 2"));
}

TEST(KeywordLanguage, CommentRunsFromTheBeginOfALineToItsEnd) {
    EXPECT_THAT(resultOf("# X_ON\n#\n#!$%\n#\tX_NAME\nX_ON\n"), ElementsAre("X_ON"));
}

TEST(KeywordLanguage, HashInsideALineIsAnError) {
    EXPECT_THAT(resultOf("X_ON # comment\n"), ElementsAre("error in line 1"));
    EXPECT_THAT(resultOf(" # comment\n"), ElementsAre("error in line 1"));
    EXPECT_THAT(resultOf("X_NAME a#b\n"), ElementsAre("error in line 1"));
}

TEST(KeywordLanguage, LastLineWithoutALineFeedIsDeliberatelyIgnored) {
    EXPECT_THAT(resultOf("X_ON\nX_ON"), ElementsAre("X_ON"));
    EXPECT_THAT(resultOf("X_ON"), ElementsAre());
    EXPECT_THAT(resultOf("X_ON\n$$$"), ElementsAre("X_ON"));
    EXPECT_THAT(resultOf("X_ON\n" + std::string(100000, 'x')), ElementsAre("X_ON"));
}

TEST(KeywordLanguage, CharacterOutsideEveryWordIsAnErrorInItsLine) {
    EXPECT_THAT(resultOf("\n\nX_NAME a\\b\nX_ON\n"), ElementsAre("error in line 3"));
    EXPECT_THAT(resultOf("X_ON;\n"), ElementsAre("error in line 1"));
    EXPECT_THAT(resultOf("\xEF\xBB\xBFX_ON\n"), ElementsAre("error in line 1"));
    EXPECT_THAT(resultOf("X_NAME caf\xC3\xA9\n"), ElementsAre("error in line 1"));
    EXPECT_THAT(resultOf(std::string("X_ON\0\n", 6)), ElementsAre("error in line 1"));
    EXPECT_THAT(resultOf(std::string("X_NAME a\0b\n", 11)), ElementsAre("error in line 1"));
}

TEST(KeywordLanguage, CommentMayHoldAnyByte) {
    EXPECT_THAT(resultOf(std::string("#\0\xFF\r;\nX_ON\n", 11)), ElementsAre("X_ON"));
}

TEST(KeywordLanguage, MissingArgumentIsAnErrorInTheLineOfTheStatement) {
    EXPECT_THAT(resultOf("X_ON\nX_NAME\nX_ON\n"), ElementsAre("X_ON", "error in line 2"));
    EXPECT_THAT(resultOf("X_NAMES\n"), ElementsAre("error in line 1"));
    EXPECT_THAT(resultOf("X_NUMBER \n"), ElementsAre("error in line 1"));
    EXPECT_THAT(resultOf("X_LEVELS\n"), ElementsAre("error in line 1"));
}

TEST(KeywordLanguage, ArgumentTooManyIsAnError) {
    EXPECT_THAT(resultOf("X_ON a\n"), ElementsAre("error in line 1"));
    EXPECT_THAT(resultOf("X_ON 1\n"), ElementsAre("error in line 1"));
    EXPECT_THAT(resultOf("X_NAME a b\n"), ElementsAre("error in line 1"));
    EXPECT_THAT(resultOf("X_NUMBER 1 2\n"), ElementsAre("error in line 1"));
    EXPECT_THAT(resultOf("X_NUMBER 12a\n"), ElementsAre("error in line 1"));
    EXPECT_THAT(resultOf("X_NUMBER a\n"), ElementsAre("error in line 1"));
    EXPECT_THAT(resultOf("X_NUMBER -1\n"), ElementsAre("error in line 1"));
    EXPECT_THAT(resultOf("X_LEVELS a\n"), ElementsAre("error in line 1"));
}

TEST(KeywordLanguage, UnknownKeywordIsAnError) {
    EXPECT_THAT(resultOf("X_OFF\n"), ElementsAre("error in line 1"));
    EXPECT_THAT(resultOf("X_O\n"), ElementsAre("error in line 1"));
    EXPECT_THAT(resultOf("X_ONE\n"), ElementsAre("error in line 1"));
    EXPECT_THAT(resultOf("X_LOW\n"), ElementsAre("error in line 1"));
    EXPECT_THAT(resultOf("12\n"), ElementsAre("error in line 1"));
}

TEST(KeywordLanguage, LineHoldsOneStatement) {
    EXPECT_THAT(resultOf("X_ON X_ON\n"), ElementsAre("error in line 1"));
    EXPECT_THAT(resultOf("X_NUMBER 3 X_ON\n"), ElementsAre("error in line 1"));
}

TEST(KeywordLanguage, StatementKeywordEndsAList) {
    EXPECT_THAT(resultOf("X_NAMES a X_ON\n"), ElementsAre("error in line 1"));
    EXPECT_THAT(resultOf("X_LEVELS X_LOW X_ON\n"), ElementsAre("error in line 1"));
    EXPECT_THAT(resultOf("X_NAME x_on\n"), ElementsAre("error in line 1"));
}

TEST(KeywordLanguage, LongestWordWins) {
    EXPECT_THAT(resultOf("X_NAMES a\n"), ElementsAre("X_NAMES a"));
    EXPECT_THAT(resultOf("X_NAMES X_ON.txt X_ONE\n"), ElementsAre("X_NAMES X_ON.txt X_ONE"));
    EXPECT_THAT(resultOf("X_LEVELS X_LOWER\n"), ElementsAre("X_LEVELS 2"));
    EXPECT_THAT(resultOf("X_LEVELS X_LOWE\n"), ElementsAre("error in line 1"));
}

TEST(KeywordLanguage, LevelWordIsAnOrdinaryNameElsewhere) {
    EXPECT_THAT(resultOf("X_NAME X_LOW\n"), ElementsAre("X_NAME X_LOW"));
}

TEST(KeywordLanguage, NamesHoldLettersDigitsAndSigns) {
    EXPECT_THAT(resultOf("X_NAMES azAZ09_*-./: -Class::* *Thread /a/b.txt 12\n"),
                ElementsAre("X_NAMES azAZ09_*-./: -Class::* *Thread /a/b.txt 12"));
}

TEST(KeywordLanguage, NumberBeyondTheRangeIsTheLargestOne) {
    EXPECT_THAT(
        resultOf(
            "X_NUMBER 2147483647\nX_NUMBER 2147483648\nX_NUMBER 99999999999999999999999\nX_NUMBER 007\n"),
        ElementsAre("X_NUMBER 2147483647", "X_NUMBER 2147483647", "X_NUMBER 2147483647", "X_NUMBER 7"));
}

TEST(KeywordLanguage, VeryLongLinesAreRead) {
    const std::string name(200000, 'n');
    EXPECT_THAT(resultOf("X_NAME " + name + "\n" + "#" + name + "\nX_ON\n"),
                ElementsAre("X_NAME " + name, "X_ON"));
    EXPECT_THAT(resultOf(std::string(200000, ' ') + "X_ON\n"), ElementsAre("X_ON"));
    EXPECT_THAT(resultOf("X_ON" + std::string(8187, ' ') + "\r\nX_ON\n"), ElementsAre("X_ON", "X_ON"));
}

TEST(KeywordLanguage, ErrorEndsTheReading) {
    EXPECT_THAT(resultOf("X_ON\n?\nX_ON\n"), ElementsAre("X_ON", "error in line 2"));
}

TEST(KeywordLanguage, EndOfTextIsRepeated) {
    TextScanner scanner("X_ON\n", 100);
    EXPECT_EQ(scanner.scan().kind, KeywordToken::Statement);
    EXPECT_EQ(scanner.scan().kind, KeywordToken::EndOfLine);
    EXPECT_EQ(scanner.scan().kind, KeywordToken::EndOfFile);
    EXPECT_EQ(scanner.scan().kind, KeywordToken::EndOfFile);
}
