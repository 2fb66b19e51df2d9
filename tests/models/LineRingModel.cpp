#include "LineRingModel.h"

#include <cctype>
#include <cstdint>
#include <iterator>
#include <sstream>
#include <string>
#include <vector>

namespace model {
namespace {

std::string lowerCase(std::string text) {
    for (char& character : text)
        character = static_cast<char>(std::tolower(static_cast<unsigned char>(character)));
    return text;
}

/// The bit of a level word, for instance of "TRACE_ERROR" with the prefix "trace_"; ignores the word's case.
unsigned levelBit(const std::string& prefix, const std::string& word) {
    const std::vector<std::string> words = {"debug",   "error",   "warning", "level_0", "level_1",
                                            "level_2", "level_3", "level_4", "level_5"};
    for (std::size_t bit = 0; bit < words.size(); ++bit)
        if (lowerCase(word) == prefix + words[bit])
            return 1u << bit;
    return 0;
}

/// The number that a statement gives, at most INT32_MAX.
int numberOf(const std::string& digits) {
    std::int64_t number = 0;
    for (const char digit : digits) {
        number = number * 10 + (digit - '0');
        if (number > INT32_MAX)
            return INT32_MAX;
    }
    return static_cast<int>(number);
}

} // namespace

void LineRing::nameCurrent() {
    if (index >= maximumFiles)
        index = 0;
    current = fileName(index);
}

void LineRing::put(const std::string& line) {
    if (!isNowhere(current))
        m_queue.push_back(line);
}

bool LineRing::drain() {
    if (isNowhere(current))
        return true; // lines that were queued earlier keep waiting for a file
    if (blocked.count(current) != 0)
        return false;
    if (m_truncates)
        files[current].clear();
    m_truncates = false;
    files[current]; // opening creates the file, even if nothing is written
    while (!m_queue.empty()) {
        files[current] += m_queue.front();
        m_queue.pop_front();
        if (++lineCount < maximumLines)
            continue;
        ++index;
        nameCurrent();
        // DELIBERATE: the next drain truncates this file and loses the lines that this drain still writes
        // into it.
        m_truncates = true;
        lineCount = 0;
        if (blocked.count(current) != 0)
            break;
        files[current]; // opened for appending
    }
    return true;
}

std::string messageText(const std::string& text) {
    if (text.size() > 20000)
        return text.substr(0, 19999) + " ...";
    // Each limit admits one character more than the buffer holds: the last character is cut without a mark.
    if (text.size() == 2048 || text.size() == 20000)
        return text.substr(0, text.size() - 1);
    return text;
}

std::vector<Statement> statementsOf(const std::string& text) {
    std::vector<Statement> statements;
    std::istringstream lines(text.substr(0, text.rfind('\n') + 1));
    for (std::string line; std::getline(lines, line);) {
        std::istringstream words(line);
        Statement statement{std::istream_iterator<std::string>(words), {}};
        if (line.empty() || line[0] == '#' || statement.empty())
            continue;
        statement[0] = lowerCase(statement[0]);
        statements.push_back(statement);
    }
    return statements;
}

void LineOutput::execute(const Statement& statement) {
    const std::string& keyword = statement[0];
    const auto is = [&](const char* name) { return keyword == m_prefix + name; };
    if (is("on"))
        m_isEnabled = true;
    else if (is("off"))
        m_isEnabled = false;
    else if (is("clock"))
        m_printsTime = true;
    else if (is("must_flush"))
        m_directWrite = true;
    else if (is("set_file_name"))
        setFileName(statement[1]);
    else if (is("set_max_lines"))
        ring.maximumLines = numberOf(statement[1]);
    else if (is("set_max_files"))
        ring.maximumFiles = numberOf(statement[1]);
    else if (is("set_msg_filter"))
        for (const std::string& word : statement)
            m_levelMask |= levelBit(m_prefix, word);
}

bool LineOutput::nameRing(const std::string& name) {
    const bool hasFiles = !LineRing::isNowhere(name);
    ring.base = hasFiles ? ring.folder + name : name;
    ring.current = name;
    return hasFiles;
}

void LineOutput::printString(const std::string& line) {
    ring.put(line);
    if (m_directWrite)
        writeOnFile();
}

void LineOutput::finish() {
    m_isEnabled = false;
    if (!m_directWrite && !ring.isEmpty())
        writeOnFile();
}

std::string LineOutput::tag(unsigned level) const {
    for (std::size_t bit = 0; bit < m_tags.size(); ++bit)
        if (level == 1u << bit)
            return m_tags[bit];
    return "";
}

} // namespace model
