#pragma once

#include "detail/DictionaryReadingObserver.h"
#include "detail/LineCursor.h"

#include <string>
#include <string_view>

namespace kf::detail {

// ---- One line. A result is a view into the line.

inline bool holds(std::string_view line, std::string_view text) {
    return line.find(text) != std::string_view::npos;
}

/// As Item::trim().
std::string_view trimmed(std::string_view text);

/// As Item::getXmlVal(), but a missing tag is no error: returns false and leaves the text alone.
bool findElementText(std::string_view tag, std::string_view line, std::string_view& text);

/// As Item::getXmlVal().
/// @throw KFDictionaryParsingException the line lacks the tag
std::string_view requireElementText(std::string_view tag, std::string_view line);

// ---- The lines of a dictionary

/// Reads the keys of a dictionary and finds their values, one element per line.
///
/// Errors: none; a line that does not fit ends the dictionary, or is skipped. findElementText() decides.
/// Thread: one at a time.
class PropertyListReader {
public:
    using Kind = DictionaryReadingObserver::Kind;

    /// @param lines    borrowed
    /// @param observer  borrowed; null: nobody is notified
    explicit PropertyListReader(LineCursor& lines, DictionaryReadingObserver* observer = nullptr)
        : m_lines(lines), m_observer(observer) {}

    /// Reads the next line, which may begin a dictionary.
    void readLine() { m_valueLine = m_lines.next(); }
    bool isAtDictionary() const { return holds(m_valueLine, "<dict>"); }
    /// Enters the dictionary of this line.
    void begin() {
        if (m_observer != nullptr)
            m_observer->onBegin(m_lines.getLinePosition());
    }
    /// Reads the next key of the dictionary and the line of its value. False: a line without a key has ended
    /// the dictionary. DELIBERATE: any such line does, not only </dict>.
    bool next();
    /// In place of begin() and next(): skips a dictionary that is too deep, as reading it would, but without
    /// recursion.
    void skip();

    const std::string& getKey() const { return m_key; }
    /// Borrowed until the next line is read.
    std::string_view getValueLine() const { return m_valueLine; }
    Kind getKind() const { return m_kind; }

private:
    void readValueLine();

    LineCursor& m_lines;
    DictionaryReadingObserver* const m_observer;
    std::string m_key; // a copy: reading the value line may invalidate the key line
    std::string_view m_valueLine;
    Kind m_kind = Kind::Skipped;
};

} // namespace kf::detail
