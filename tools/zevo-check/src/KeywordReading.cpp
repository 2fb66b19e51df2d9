#include "KeywordReading.h"

#include "Logger.h"
#include "LoggerConfigFileScanner.h"
#include "LoggerParser.h"
#include "Tracer.h"
#include "TracerConfigFileScanner.h"
#include "TracerParser.h"

using namespace kf::detail;

namespace Zevo {
namespace {

/// The product's parser and scanner, recording each line. Switched is the object that the statements
/// configure.
template <typename Parser, typename Scanner, typename Switched, bool IGNORES_WHILE_OFF>
class Watched : public Parser {
public:
    Watched(const std::string& path, Switched& switched)
        : Parser(&switched), m_scanner(path.c_str()), m_switched(switched) {}

    ReadLines readAll() {
        do
            this->parse(); // returns at a misplaced word
        while (!m_isAtEnd);
        return std::move(m_lines);
    }

protected:
    KeywordToken getToken() override {
        KeywordToken token = m_scanner.getToken();
        m_isAtEnd = token.kind == KeywordToken::EndOfFile;
        if (token.kind == KeywordToken::EndOfLine || m_isAtEnd) {
            m_isLineOpen = false;
        } else {
            openLine();
            m_lines.back().words.push_back(token);
        }
        m_last = token;
        return token;
    }

    void signalError(const char* /*message*/) override {
        ReadLine& line = m_lines.back();
        line.stop = m_last;
        if (!line.words.empty() && line.words.front().kind == KeywordToken::Statement)
            line.statement = line.words.front().value;
        // The product would end here. Skip the line, so that the following ones are checked as well.
        while (m_last.kind != KeywordToken::EndOfLine && m_last.kind != KeywordToken::EndOfFile)
            getToken();
    }

    void execute(int statement, const KeywordArguments& arguments) override {
        ReadLine& line = m_lines.back();
        line.statement = statement;
        line.arguments = arguments;
        line.isComplete = true;
        const bool wasOn = m_switched.isEnabled();
        Parser::execute(statement, arguments);
        line.hasEffect = !IGNORES_WHILE_OFF || wasOn || m_switched.isEnabled();
    }

private:
    void openLine() {
        if (!m_isLineOpen)
            m_lines.emplace_back();
        m_isLineOpen = true;
    }

    Scanner m_scanner;
    Switched& m_switched;
    ReadLines m_lines;
    KeywordToken m_last;
    bool m_isLineOpen = false;
    bool m_isAtEnd = false;
};

} // namespace

ReadLines readTraceConfiguration(const std::string& path, Tracer& tracer) {
    return Watched<TracerParser, TracerConfigFileScanner, Tracer, true>(path, tracer).readAll();
}

ReadLines readLogConfiguration(const std::string& path, Logger& logger) {
    return Watched<LoggerParser, LoggerConfigFileScanner, Logger, false>(path, logger).readAll();
}

} // namespace Zevo
