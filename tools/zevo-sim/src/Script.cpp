#include "Script.h"

#include "ApplicationWatch.h"
#include "DeviceChoice.h"
#include "SourceText.h"
#include "Suggestion.h"
#include "VirtualUsbBus.h"

#include <fmt/format.h>

#include <algorithm>
#include <cctype>
#include <regex>
#include <string_view>

namespace Zevo {
namespace {

using std::chrono::milliseconds;

const char AN_APPLICATION[] = "application, notifier, or the path of a bundle in quotes";
const char A_TIME[] = "a time, as in 500ms, 2s or 1min";
const char A_DEVICE[] = "ids as in 12d1:1446, a modem's name as in huawei-e220, or its file";
const char A_PORT[] = "a port, as in 1-1 or 1-1.2";
constexpr unsigned MOST_ROUNDS = 1000000;
constexpr std::size_t LONGEST_LINE = 8192; // after its variables are replaced

struct Word {
    std::string text;
    int column = 1;
    int length = 1;
    bool isQuoted = false;
};

/// Thrown to end the reading of a statement.
struct Mistake {
    Finding finding;
};

bool isNameCharacter(char c) {
    return std::isalnum(static_cast<unsigned char>(c)) != 0 || c == '_';
}

class Reader {
public:
    Reader(const std::string& path, const std::map<std::string, std::string>& variables,
           const std::vector<KnownModem>& database)
        : m_source(path, path), m_variables(variables), m_given(variables), m_database(database) {
        m_script.name = path;
    }

    Script read() {
        if (!m_source.whyUnreadable().empty())
            m_script.findings.push_back(
                {"script-unreadable", m_source.wholeFile(), m_source.whyUnreadable(), "", ""});
        for (m_line = 1; m_line <= m_source.lineCount(); ++m_line) {
            try {
                readLine();
            } catch (const Mistake& mistake) {
                m_script.findings.push_back(mistake.finding);
            }
        }
        return std::move(m_script);
    }

private:
    // ---- words ----

    void readLine() {
        splitWords();
        m_next = 0;
        if (m_words.empty())
            return;
        m_step = Step();
        m_step.place = m_source.atLine(m_line);
        for (const Word& word : m_words)
            m_step.text +=
                (m_step.text.empty() ? "" : " ") + (word.isQuoted ? "\"" + word.text + "\"" : word.text);
        if (m_words.front().text == "let" && !m_words.front().isQuoted) {
            readVariable();
            return;
        }
        readStatement();
        if (m_next < m_words.size())
            fail("script-too-much", m_words[m_next], "nothing may follow here", "the end of the line");
        m_script.steps.push_back(m_step);
    }

    void splitWords() {
        m_words.clear();
        m_length = 0;
        const std::string line(m_source.line(m_line));
        // System calls would cut a name at a NUL.
        const std::size_t zero = line.find('\0');
        if (zero != std::string::npos)
            throw Mistake{{"script-zero-byte", m_source.at(m_line, static_cast<int>(zero) + 1),
                           "a zero byte stands here", "a text file", ""}};
        for (std::size_t at = 0; at < line.size();) {
            if (line[at] == ' ' || line[at] == '\t') {
                ++at;
            } else if (line[at] == '#') {
                break;
            } else if (line[at] == '"') {
                const std::size_t end = line.find('"', at + 1);
                if (end == std::string::npos)
                    throw Mistake{
                        {"script-quote-open",
                         m_source.at(m_line, static_cast<int>(at) + 1, static_cast<int>(line.size() - at)),
                         "a text without its end", "a second quotation mark", ""}};
                addWord(line.substr(at + 1, end - at - 1), at, end + 1 - at, true);
                at = end + 1;
            } else {
                const std::size_t end = std::min(line.size(), line.find_first_of(" \t", at));
                addWord(line.substr(at, end - at), at, end - at, false);
                at = end;
            }
        }
    }

    void addWord(const std::string& written, std::size_t at, std::size_t length, bool isQuoted) {
        Word word = {"", static_cast<int>(at) + 1, static_cast<int>(length), isQuoted};
        for (std::size_t i = 0; i < written.size();) {
            std::size_t end = i + 1;
            while (written[i] == '$' && end < written.size() && isNameCharacter(written[end]))
                ++end;
            if (written[i] == '$' && end > i + 1) {
                const Word variable = {written.substr(i + 1, end - i - 1),
                                       static_cast<int>(at + i + (isQuoted ? 1 : 0)) + 1,
                                       static_cast<int>(end - i), false};
                word.text += valueOf(variable);
            } else {
                word.text += written.substr(i, end - i);
            }
            i = end;
            // Variables made of variables could grow beyond any memory.
            if (m_length + word.text.size() > LONGEST_LINE)
                fail("script-line-long", word, "the line is too long with the values of its variables",
                     fmt::format("{} characters at most", LONGEST_LINE));
        }
        m_length += word.text.size();
        m_words.push_back(word);
    }

    std::string valueOf(const Word& name) {
        const auto found = m_variables.find(name.text);
        if (found != m_variables.end())
            return found->second;
        std::vector<std::string_view> known;
        for (const auto& [other, value] : m_variables)
            known.push_back(other);
        fail("script-variable-unknown", name, fmt::format("no variable is called {}", name.text),
             fmt::format("\"let {} = VALUE\" above, or --let {}=VALUE", name.text, name.text), known);
    }

    [[noreturn]] void fail(const char* id, const Word& word, const std::string& wrong,
                           const std::string& expected,
                           const std::vector<std::string_view>& candidates = {}) {
        throw Mistake{{id, m_source.at(m_line, word.column, word.length), wrong, expected,
                       meantBy(word.text, candidates)}};
    }

    /// The position behind the last word.
    Word endOfLine() const {
        const Word& last = m_words.back();
        return {"", last.column + last.length, 1, false};
    }

    const Word& take(const std::string& expected) {
        if (m_next >= m_words.size())
            fail("script-too-little", endOfLine(), "the line ends too early", expected);
        return m_words[m_next++];
    }

    bool takeIf(const std::string& word) {
        if (m_next >= m_words.size() || m_words[m_next].isQuoted || m_words[m_next].text != word)
            return false;
        ++m_next;
        return true;
    }

    /// Takes one of these words; if it is missing, `expected` tells people which.
    std::string takeOneOf(const std::vector<std::string_view>& words, const std::string& expected) {
        const Word& word = take(expected);
        for (const std::string_view each : words)
            if (!word.isQuoted && word.text == each)
                return word.text;
        fail("script-word-unknown", word, fmt::format("\"{}\" is not understood here", word.text), expected,
             words.size() > 1 ? words : std::vector<std::string_view>());
    }

    void takeWord(const char* word) { takeOneOf({word}, fmt::format("\"{}\"", word)); }

    // ---- parts of statements ----

    milliseconds takeTime() {
        const Word& word = take(A_TIME);
        std::string text = word.text;
        // "2 s" is one time in two words.
        if (m_next < m_words.size() && text.find_first_not_of("0123456789.") == std::string::npos &&
            durationIn(text + m_words[m_next].text))
            text += m_words[m_next++].text;
        const std::optional<milliseconds> time = durationIn(text);
        if (!time || word.isQuoted)
            fail("script-time", word, fmt::format("\"{}\" is no time", text), A_TIME);
        return *time;
    }

    template <class Choose>
    auto chosen(const Word& word, Choose choose) {
        try {
            return choose(word.text, m_database);
        } catch (const std::exception& problem) {
            fail("script-device", word, problem.what(), A_DEVICE);
        }
    }

    Modem takeDevice() { return chosen(take(A_DEVICE), &chooseDevice); }

    std::string takePort() {
        const Word& word = take(A_PORT);
        if (!VirtualUsbBus::isPort(word.text))
            fail("script-port", word, fmt::format("\"{}\" is no port", word.text), A_PORT);
        return word.text;
    }

    unsigned takeNumber(unsigned largest) {
        const std::string expected = fmt::format("a number from 0 to {}", largest);
        const Word& word = take(expected);
        static const std::regex form("[0-9]{1,9}");
        if (!std::regex_match(word.text, form) || std::stoul(word.text) > largest)
            fail("script-number", word, fmt::format("\"{}\" is no such number", word.text), expected);
        return static_cast<unsigned>(std::stoul(word.text));
    }

    // ---- statements ----

    void readVariable() {
        m_next = 1;
        const Word& name = take("a name");
        if (name.text.empty() || std::isdigit(static_cast<unsigned char>(name.text.front())) != 0 ||
            !std::all_of(name.text.begin(), name.text.end(), &isNameCharacter))
            fail("script-variable-name", name, fmt::format("\"{}\" is no name for a variable", name.text),
                 "letters, digits and underscores");
        takeWord("=");
        const Word& value = take("its value");
        if (m_next < m_words.size())
            fail("script-too-much", m_words[m_next], "nothing may follow here",
                 "a value of several words in quotes");
        if (m_given.count(name.text) == 0)
            m_variables[name.text] = value.text;
    }

    void readStatement() {
        static const std::vector<std::string_view> words = {"plug", "switch-to", "unplug", "storm",  "wait",
                                                            "say",  "start",     "stop",   "expect", "let"};
        const std::string word =
            takeOneOf(words, "plug, switch-to, unplug, storm, wait, say, start, stop, expect or let");
        using Kind = Step::Kind;
        if (word == "plug") {
            readPlug();
        } else if (word == "switch-to") {
            m_step.kind = Kind::switchTo;
            if (m_next < m_words.size() && m_words[m_next].text != "at")
                m_step.next = chosen(take(A_DEVICE), &choosePersonality);
            readPort();
        } else if (word == "unplug") {
            readUnplug();
        } else if (word == "storm") {
            m_step.kind = Kind::storm;
            m_step.modem = takeDevice();
            takeWord("count");
            m_step.count = takeNumber(MOST_ROUNDS);
        } else if (word == "wait") {
            m_step.kind = Kind::wait;
            m_step.time = takeTime();
        } else if (word == "say") {
            m_step.kind = Kind::say;
            m_step.words = take("a text in quotes").text;
        } else if (word == "expect") {
            readExpectation();
        } else {
            m_step.kind = word == "start" ? Kind::start : Kind::stop;
            takeIf("program");
        }
    }

    void readPort() {
        if (takeIf("at"))
            m_step.port = takePort();
    }

    void readPlug() {
        m_step.kind = Step::Kind::plug;
        m_step.modem = takeDevice();
        readPort();
        if (!takeIf("switch-to"))
            return;
        const Word& word = take(A_DEVICE);
        const UsbDevice next = chosen(word, &choosePersonality);
        m_step.modem = {m_step.modem.name, m_step.modem.first(), next};
        takeWord("after");
        m_step.after = takeTime();
    }

    void readUnplug() {
        m_step.kind = Step::Kind::unplug;
        if (takeIf("all"))
            m_step.kind = Step::Kind::unplugAll;
        else if (m_next < m_words.size() && VirtualUsbBus::isPort(m_words[m_next].text))
            m_step.port = takePort();
        else if (m_next < m_words.size())
            m_step.ids = idsOf(chosen(take(A_DEVICE), &chooseDevice));
    }

    void readExpectation() {
        const Word first = take(fmt::format("{}; nothing; program; or a text in quotes", AN_APPLICATION));
        using Kind = Step::Kind;
        const bool isPath = first.isQuoted && first.text.compare(0, 1, "/") == 0 && !isBefore("in");
        if (first.isQuoted && !isPath) {
            m_step.kind = Kind::expectText;
            m_step.words = first.text;
            takeWord("in");
            m_step.file = take("the path of a text file").text;
            takeWord("within");
            m_step.time = takeTime();
        } else if (first.text == "nothing" && !first.isQuoted) {
            m_step.kind = Kind::expectNothingStarted;
            takeWord("started");
            takeWord("for");
            m_step.time = takeTime();
        } else if (first.text == "program" && !first.isQuoted) {
            m_step.kind = Kind::expectEnd;
            takeWord("ended");
            if (takeIf("with")) {
                takeWord("status");
                m_step.status = static_cast<int>(takeNumber(255));
            }
            takeWord("within");
            m_step.time = takeTime();
        } else {
            readApplication(first);
        }
    }

    bool isBefore(const char* word) const { return m_next < m_words.size() && m_words[m_next].text == word; }

    void readApplication(const Word& word) {
        m_step.bundle = word.isQuoted ? word.text : applicationCalled(word.text);
        if (m_step.bundle.empty())
            fail("script-word-unknown", word, fmt::format("\"{}\" is not understood here", word.text),
                 fmt::format("{}; nothing; program; or a text in quotes", AN_APPLICATION),
                 {"application", "notifier", "nothing", "program"});
        using Kind = Step::Kind;
        const std::string what =
            takeOneOf({"started", "running", "not"}, "started, running or \"not running\"");
        m_step.kind = what == "started"   ? Kind::expectStarted
                      : what == "running" ? Kind::expectRunning
                                          : Kind::expectNotRunning;
        if (what == "not")
            takeWord("running");
        if (what == "started" || m_next < m_words.size()) {
            takeWord("within");
            m_step.time = takeTime();
        }
    }

    SourceText m_source;
    std::map<std::string, std::string> m_variables;
    const std::map<std::string, std::string>& m_given;
    const std::vector<KnownModem>& m_database;
    Script m_script;
    int m_line = 0;
    std::vector<Word> m_words;
    std::size_t m_length = 0; ///< of the words, in bytes
    std::size_t m_next = 0;
    Step m_step;
};

} // namespace

Script readScript(const std::string& path, const std::map<std::string, std::string>& variables,
                  const std::vector<KnownModem>& database) {
    return Reader(path, variables, database).read();
}

std::optional<milliseconds> durationIn(const std::string& text) {
    static const std::regex form("([0-9]{1,8})(?:\\.([0-9]{1,3}))?[ ]*(ms|s|min)");
    static constexpr long LONGEST = 24L * 60 * 60 * 1000;
    static constexpr std::size_t LONGEST_TEXT = 32; // matching a long one would need too much stack
    std::smatch parts;
    if (text.size() > LONGEST_TEXT || !std::regex_match(text, parts, form))
        return std::nullopt;
    const long unit = parts[3] == "ms" ? 1 : parts[3] == "s" ? 1000 : 60000;
    long thousandths = std::stol((parts[2].str() + "000").substr(0, 3));
    const long time = std::stol(parts[1]) * unit + thousandths * unit / 1000;
    if (time > LONGEST)
        return std::nullopt;
    return milliseconds(time);
}

std::string shownDuration(milliseconds duration) {
    const auto count = duration.count();
    if (count < 1000)
        return fmt::format("{} ms", count);
    return fmt::format("{:g} s", static_cast<double>(count) / 1000);
}

} // namespace Zevo
