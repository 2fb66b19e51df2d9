#include "KeywordFileCheck.h"

#include "FolderCheck.h"
#include "Suggestion.h"

#include <fmt/format.h>

#include <algorithm>
#include <limits>
#include <map>

using namespace kf::detail;

namespace Zevo {
namespace {

const char ENDS[] = "the launcher ends at its start, with status 1";

std::vector<std::string_view> keywordsOf(const KeywordLanguage& language) {
    std::vector<std::string_view> words;
    for (std::size_t i = 0; i < language.statementCount; ++i)
        words.push_back(language.statements[i].keyword);
    return words;
}

std::vector<std::string_view> levelsOf(const KeywordLanguage& language) {
    std::vector<std::string_view> words;
    for (std::size_t i = 0; i < language.levelCount; ++i)
        words.push_back(language.levels[i].word);
    return words;
}

bool isAmong(const std::string& word, const std::vector<std::string_view>& words) {
    return std::any_of(
        words.begin(), words.end(),
        [&word](std::string_view other) { return smallLetters(word) == smallLetters(other); });
}

// The other language's statement or level with the same ending: TRACE_CLOCK for LOG_CLOCK.
std::string counterpart(const std::string& word, const std::vector<std::string_view>& words) {
    for (const std::string_view candidate : words) {
        const std::string end = smallLetters(candidate.substr(candidate.find('_')));
        const std::string ownEnd = smallLetters(word).substr(std::min(word.size(), word.find('_')));
        if (end == ownEnd)
            return std::string(candidate);
    }
    return {};
}

const char* argumentOf(KeywordArgument argument) {
    switch (argument) {
    case KeywordArgument::None:
        return "nothing behind it";
    case KeywordArgument::Name:
        return "one name behind it";
    case KeywordArgument::Names:
        return "one or more names behind it";
    case KeywordArgument::Number:
        return "one number behind it";
    case KeywordArgument::Levels:
        return "one or more levels behind it";
    }
    return "";
}

std::string roundedSize(std::uint64_t bytes) {
    static const char* const UNITS[] = {"bytes", "kB", "MB", "GB", "TB", "PB", "EB"};
    std::size_t unit = 0;
    std::uint64_t size = bytes;
    while (size >= 1000 && unit + 1 < std::size(UNITS)) {
        size /= 1000;
        ++unit;
    }
    return fmt::format("{} {}", size, UNITS[unit]);
}

} // namespace

void KeywordFileCheck::add(const std::string& id, Place place, std::string wrong, std::string expected,
                           std::string meant) {
    m_findings.push_back({std::string(m_dialect.id) + "-" + id, std::move(place), std::move(wrong),
                          std::move(expected), std::move(meant)});
}

Place KeywordFileCheck::placeOf(const KeywordToken& word) const {
    const std::string_view text = m_file.line(word.line);
    const std::size_t start = std::min(text.size(), static_cast<std::size_t>(word.column) - 1);
    const std::size_t end = std::min(text.size(), text.find_first_of(" \t", start));
    return m_file.at(word.line, word.column, static_cast<int>(end - start));
}

const ReadLine* KeywordFileCheck::last(int statement) const {
    const auto found = std::find_if(m_lines.rbegin(), m_lines.rend(), [statement](const ReadLine& line) {
        return line.isComplete && line.hasEffect && line.statement == statement;
    });
    return found == m_lines.rend() ? nullptr : &*found;
}

bool KeywordFileCheck::checkSwitch(bool isOn) {
    const std::string on = keyword(m_dialect.on);
    const std::string off = keyword(m_dialect.off);
    const std::string outcome = std::string("nothing is ") + m_dialect.done;
    if (!has(m_dialect.on)) {
        if (!has(m_dialect.off) && m_isWithoutErrors)
            add("never-on", m_file.wholeFile(), "no " + on + ": " + outcome,
                on + " in the first line; " + off + " where no " + m_dialect.id + " is wanted");
        return false;
    }
    const ReadLine* const lastOff = last(m_dialect.off);
    if (lastOff != nullptr && !isOn) {
        add("off-again", placeOf(*lastOff), off + " below " + on + ": " + outcome, "one of the two");
        return false;
    }
    return true;
}

const ReadLine* KeywordFileCheck::lastOfAll() const {
    const auto found =
        std::find_if(m_lines.rbegin(), m_lines.rend(), [](const ReadLine& line) { return line.isComplete; });
    return found == m_lines.rend() ? nullptr : &*found;
}

bool KeywordFileCheck::has(int statement) const {
    return std::any_of(
        m_lines.begin(), m_lines.end(),
        [statement](const ReadLine& line) { return line.isComplete && line.statement == statement; });
}

void KeywordFileCheck::checkForm() {
    if (m_file.hasByteOrderMark()) {
        add("byte-order-mark", m_file.at(1, 1, 3),
            fmt::format("a byte order mark is a syntax error: {}", ENDS), "no byte order mark");
        m_isWithoutErrors = false;
    }
    for (const ReadLine& line : m_lines)
        if (!line.isComplete && line.stop.line > 0 && !(m_file.hasByteOrderMark() && line.stop.line == 1))
            tellStop(line);
        else if (line.isComplete)
            checkBlankBehindKeyword(line);
    checkLostLine();
}

// TRACE_THE_CALLS, for instance: the keyword, and a name directly behind it.
void KeywordFileCheck::checkBlankBehindKeyword(const ReadLine& line) {
    const std::string statement = keyword(line.statement);
    if (line.words.size() < 2 ||
        line.words[1].column != line.words[0].column + static_cast<int>(statement.size()))
        return;
    const Place word = placeOf(line.words.front());
    const std::string text =
        word.text.substr(static_cast<std::size_t>(word.column) - 1, static_cast<std::size_t>(word.length));
    add("keyword-runs-on", word,
        fmt::format("no blank behind the keyword: {} counts as {} and {}", text, statement,
                    text.substr(statement.size())),
        "a blank or a tab behind the keyword", statement);
}

// A last line without a line feed never reaches the parser.
void KeywordFileCheck::checkLostLine() {
    const int number = m_file.lineCount();
    if (m_file.bytes().empty() || m_file.endsWithLineFeed())
        return;
    const std::string_view text = m_file.line(number);
    const bool isLost = text.find_first_not_of(" \t") != std::string_view::npos && text.front() != '#';
    const bool hasOldLineEnds = number == 1 && text.find('\r') != std::string_view::npos;
    if (hasOldLineEnds)
        add("old-line-ends", m_file.at(1, static_cast<int>(text.find('\r')) + 1),
            "lines end in a carriage return alone, so the whole file counts as one line, which is ignored",
            "line feeds");
    else if (isLost)
        add("last-line-without-line-feed", m_file.atLine(number),
            "the last line has no line feed, so it is ignored", "a line feed at the end of the file");
    if (isLost)
        m_isWithoutErrors = false; // what seems to be missing may be in it
}

// The word, from blank to blank, that contains the token.
Place KeywordFileCheck::wholeWordAt(const KeywordToken& token) const {
    const std::string_view text = m_file.line(token.line);
    std::size_t start = std::min(text.size(), static_cast<std::size_t>(token.column) - 1);
    if (start < text.size() && text[start] != ' ' && text[start] != '\t')
        while (start > 0 && text[start - 1] != ' ' && text[start - 1] != '\t')
            --start;
    const std::size_t end = std::min(text.size(), text.find_first_of(" \t", start));
    return m_file.at(token.line, static_cast<int>(start) + 1, static_cast<int>(end - start));
}

void KeywordFileCheck::tellUnknownStatement(const Place& word, const std::string& text) {
    if (isAmong(text, keywordsOf(m_dialect.otherLanguage))) {
        add("statement-of-the-other", word,
            fmt::format("{} is a statement of {}: {}", text, m_dialect.other, ENDS),
            fmt::format("a statement of {}", m_dialect.fileOf),
            counterpart(text, keywordsOf(m_dialect.language)));
        return;
    }
    add("statement-misspelt", word, fmt::format("no statement: {}: {}", text, ENDS),
        fmt::format("a statement of {}", m_dialect.fileOf), meantBy(text, keywordsOf(m_dialect.language)));
}

void KeywordFileCheck::tellWrongLevel(const Place& word, const std::string& text, const ReadLine& line) {
    const bool isOther = isAmong(text, levelsOf(m_dialect.otherLanguage));
    add(isOther ? "level-of-the-other" : "level-misspelt", word,
        isOther ? fmt::format("{} is a level of {}: {}", text, m_dialect.other, ENDS)
                : fmt::format("no level: {}: {}", text, ENDS),
        fmt::format("a level of {} behind {}", m_dialect.fileOf, keyword(line.statement)),
        isOther ? counterpart(text, levelsOf(m_dialect.language))
                : meantBy(text, levelsOf(m_dialect.language)));
}

// Reports why the product's parser refused this word.
void KeywordFileCheck::tellStop(const ReadLine& line) {
    m_isWithoutErrors = false;
    const KeywordToken& stop = line.stop;
    const Place word = wholeWordAt(stop);
    const std::string text =
        word.text.substr(static_cast<std::size_t>(word.column) - 1, static_cast<std::size_t>(word.length));
    const std::string_view written = m_file.line(stop.line);
    const std::size_t at = static_cast<std::size_t>(stop.column) - 1;
    if (stop.kind == KeywordToken::EndOfLine) {
        const Place place = m_file.at(stop.line, static_cast<int>(written.size()) + 1);
        const KeywordArgument argument = m_dialect.language.statements[line.statement].argument;
        add("argument-missing", place, fmt::format("nothing behind {}: {}", keyword(line.statement), ENDS),
            argumentOf(argument));
        return;
    }
    if (at < written.size() && written[at] == '#') {
        add("comment-misplaced", m_file.at(stop.line, stop.column),
            fmt::format("a comment may begin at the very beginning of a line only: {}", ENDS),
            "\"#\" in the first column");
        return;
    }
    const bool isInFirstWord = word.column <= static_cast<int>(written.find_first_not_of(" \t")) + 1;
    if (line.statement < 0 || isInFirstWord) {
        tellUnknownStatement(word, text);
        return;
    }
    const KeywordArgument argument = m_dialect.language.statements[line.statement].argument;
    const std::string statement = keyword(line.statement);
    if (argument == KeywordArgument::Levels) {
        tellWrongLevel(word, text, line);
        return;
    }
    if (argument == KeywordArgument::None) {
        add("argument-too-many", word, fmt::format("{} takes no argument: {}", statement, ENDS),
            argumentOf(argument));
        return;
    }
    const std::size_t arguments = static_cast<std::size_t>(
        std::count_if(line.words.begin(), line.words.end(), [&stop](const KeywordToken& token) {
            const bool isArgument = token.kind == KeywordToken::Name || token.kind == KeywordToken::Number;
            return isArgument && token.column < stop.column;
        }));
    const bool isInArgument = word.column < stop.column;
    if (argument == KeywordArgument::Number) {
        const bool isSecond = arguments > 0 && !isInArgument;
        add(isSecond ? "argument-too-many" : "number-malformed", word,
            isSecond ? fmt::format("{} takes one number: {}", statement, ENDS)
                     : fmt::format("no number: {}: {}", text, ENDS),
            "decimal digits");
        return;
    }
    if (stop.kind == KeywordToken::Statement) {
        add("name-is-keyword", word, fmt::format("a name may not begin like a keyword: {}: {}", text, ENDS),
            "another name");
        return;
    }
    if (stop.kind == KeywordToken::Stray) {
        add("name-with-wrong-character", m_file.at(stop.line, stop.column),
            fmt::format("this character has no place in a name ({}): {}",
                        shownCharacter(at < written.size() ? written[at] : '\r'), ENDS),
            "letters, digits and _ * - . / :");
        return;
    }
    add("argument-too-many", word,
        fmt::format("{} takes one name, and a name has no blanks: {}", statement, ENDS),
        argumentOf(argument));
}

void KeywordFileCheck::checkArguments() {
    std::map<int, int> firstLines; // of a statement whose last value counts
    for (const ReadLine& line : m_lines) {
        if (!line.isComplete || !line.hasEffect)
            continue;
        const bool isNumber =
            line.statement == m_dialect.setMaxLines || line.statement == m_dialect.setMaxFiles;
        if (!isNumber && line.statement != m_dialect.setFileName)
            continue;
        const int number = line.words.front().line;
        const auto first = firstLines.emplace(line.statement, number);
        if (!first.second)
            add("statement-twice", placeOf(line),
                fmt::format("{} stands in line {} already: this one counts", keyword(line.statement),
                            first.first->second),
                "one of them");
        if (!isNumber)
            continue;
        const Place place = placeOf(line.words.back());
        const std::string digits = place.text.substr(static_cast<std::size_t>(place.column) - 1,
                                                     static_cast<std::size_t>(place.length));
        if (line.arguments.number == std::numeric_limits<std::int32_t>::max() && digits != "2147483647")
            add("number-too-large", place, "beyond the range: it counts as 2147483647", "at most 2147483647");
        else if (line.statement == m_dialect.setMaxLines && line.arguments.number <= 1)
            add("max-lines-too-small", place,
                fmt::format(
                    "{} does not mean \"no limit\": each line begins a new file, and most lines are lost",
                    line.arguments.number),
                "a few thousand");
        else if (line.statement == m_dialect.setMaxFiles && line.arguments.number == 0)
            add("max-files-zero", place,
                "0 does not mean \"no limit\": the ring has one file, which is emptied when it is full",
                "at least 2");
    }
}

void KeywordFileCheck::checkRing(const Ring& ring) {
    const ReadLine* const named = last(m_dialect.setFileName);
    const ReadLine* const on = last(m_dialect.on);
    if (named == nullptr) {
        add("file-name-missing", on != nullptr ? placeOf(*on) : m_file.wholeFile(),
            fmt::format("{} without {}: {}", keyword(m_dialect.on), keyword(m_dialect.setFileName), ENDS),
            fmt::format("a line {} and a name", keyword(m_dialect.setFileName)));
        return;
    }
    if (named->arguments.names.front() == "console")
        return;
    if (named->arguments.names.front() == "msvc") {
        add("goes-nowhere", placeOf(named->words.back()), "\"msvc\" is nowhere: no file is written",
            "a name of the files");
        return;
    }
    checkFolderOf(ring);
    const std::uint64_t bytes = static_cast<std::uint64_t>(std::max(1, ring.files)) *
                                static_cast<std::uint64_t>(std::max(1, ring.lines)) *
                                static_cast<std::uint64_t>(m_dialect.bytesOfALine);
    if (ring.freeBytes > 0 && bytes > ring.freeBytes) {
        const ReadLine* const lines = last(m_dialect.setMaxLines);
        add("ring-fills-the-disk", lines != nullptr ? placeOf(*lines) : placeOf(*named),
            fmt::format("{} files of {} lines need about {}, and {} are free", ring.files, ring.lines,
                        roundedSize(bytes), roundedSize(ring.freeBytes)),
            "a ring that the disk has room for");
    }
}

void KeywordFileCheck::checkFolderOf(const Ring& ring) {
    const ReadLine& named = *last(m_dialect.setFileName);
    const std::string& name = named.arguments.names.front();
    if (name.find('/') == std::string::npos)
        return;
    const Place place = placeOf(named.words.back());
    if (name.front() != '/') {
        add("path-relative", place, "a path that depends on the folder that the launcher is started in",
            "a bare name, which lies in the log folder, or a path from \"/\" on");
        return;
    }
    const std::string folder = ring.baseName.substr(0, ring.baseName.rfind('/') + 1);
    const std::string wrong = whyNotWritable(folder, FolderMustExist::YES);
    if (!wrong.empty())
        add("folder-not-writable", place,
            fmt::format("{} {}: the lines wait in memory, which grows", folder, wrong),
            "a folder that is there and that this user may write to");
}

} // namespace Zevo
