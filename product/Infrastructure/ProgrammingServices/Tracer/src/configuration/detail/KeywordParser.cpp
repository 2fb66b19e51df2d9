#include "detail/KeywordParser.h"

namespace kf::detail {

namespace {

// Whether a statement that takes this kind of argument accepts another token of this kind.
bool isArgumentExpected(KeywordArgument argument, KeywordToken::Kind kind, bool isFirst) {
    switch (argument) {
    case KeywordArgument::None:
        return false;
    case KeywordArgument::Name:
        return kind == KeywordToken::Name && isFirst;
    case KeywordArgument::Names:
        return kind == KeywordToken::Name;
    case KeywordArgument::Number:
        return kind == KeywordToken::Number && isFirst;
    case KeywordArgument::Levels:
        return kind == KeywordToken::Level;
    }
    return false;
}

void add(const KeywordToken& token, KeywordArguments& arguments) {
    if (token.kind == KeywordToken::Name)
        arguments.names.push_back(token.text);
    else if (token.kind == KeywordToken::Number)
        arguments.number = token.value;
    else
        arguments.levels |= static_cast<std::uint32_t>(token.value);
}

} // namespace

void KeywordParser::parse() {
    for (;;) {
        const KeywordToken token = getToken();
        if (token.kind == KeywordToken::EndOfFile)
            return;
        if (token.kind == KeywordToken::EndOfLine)
            continue;
        const Outcome outcome =
            token.kind == KeywordToken::Statement ? parseStatement(token.value) : Outcome::Wrong;
        if (outcome == Outcome::Wrong)
            signalError("parse error");
        if (outcome != Outcome::Complete)
            return;
    }
}

KeywordParser::Outcome KeywordParser::parseStatement(int statement) {
    const KeywordArgument argument = m_language.statements[statement].argument;
    KeywordArguments arguments;
    bool isFirst = true;
    for (;; isFirst = false) {
        const KeywordToken token = getToken();
        if (token.kind == KeywordToken::EndOfFile)
            return Outcome::EndOfFile;
        if (token.kind == KeywordToken::EndOfLine)
            break;
        if (!isArgumentExpected(argument, token.kind, isFirst))
            return Outcome::Wrong;
        add(token, arguments);
    }
    if (isFirst && argument != KeywordArgument::None)
        return Outcome::Wrong;
    execute(statement, arguments);
    return Outcome::Complete;
}

} // namespace kf::detail
