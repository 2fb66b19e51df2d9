#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace kf::detail {

// The line-oriented language of the trace and of the log configuration file. Both have the same tokens and
// the same grammar; they differ in their statements:
//
//     file      = { line }
//     line      = [ statement ] "\n"
//     statement = keyword [ name | name { name } | number | level { level } ]
//
// Keywords and level words are matched without regard to letter case. A "#" at the very beginning of a line
// starts a comment. KeywordScanner splits the text into tokens, KeywordParser makes statements of them.

/// The arguments that follow a statement's keyword.
enum class KeywordArgument { None, Name, Names, Number, Levels };

struct KeywordStatement {
    std::string_view keyword;
    KeywordArgument argument;
};

struct KeywordLevel {
    std::string_view word;
    std::uint32_t bit; // of MessageType
};

/// One of the two languages: tables of static storage duration.
struct KeywordLanguage {
    const KeywordStatement* statements;
    std::size_t statementCount;
    const KeywordLevel* levels;
    std::size_t levelCount;
    const char* name = ""; // of its files, as messages call them: "tracer" or "log"
};

/// A token of the text.
struct KeywordToken {
    enum Kind {
        EndOfFile,
        EndOfLine,
        Filler,    // blanks or a comment
        Statement, // value: the statement's index in its table
        Level,     // value: the level's bit
        Number,    // value: the number, INT32_MAX if it is larger
        Name,
        Stray, // a character that begins no other token
    };
    Kind kind = EndOfFile;
    std::int32_t value = 0;
    std::string text; // of a name
    int line = 0;     // counted from 1
    int column = 0;   // of its first character, counted from 1 in bytes; 0 at the end of the text
};

/// The arguments of a complete statement.
struct KeywordArguments {
    std::vector<std::string> names;
    std::int32_t number = 0;
    std::uint32_t levels = 0;
};

} // namespace kf::detail
