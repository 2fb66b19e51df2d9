#include "detail/PropertyListReader.h"

#include "CallMarker.h"
#include "KFDictionaryParsingException.h"

namespace kf::detail {

// ---- One line, traced under the names of the Item operations that these functions implement

static const char KF_SOURCE[] = "product/Infrastructure/ProgrammingServices/Dictionary/src/Item";
static constexpr int NO_TAG_LINE = 180;

namespace {

bool isBlank(char character) {
    return character == ' ' || character == '\t' || character == '\n';
}

} // namespace

std::string_view trimmed(std::string_view text) {
    TRACE_FUNCTION("Item::trim");
    while (!text.empty() && isBlank(text.front()))
        text.remove_prefix(1);
    while (!text.empty() && isBlank(text.back()))
        text.remove_suffix(1);
    return text;
}

bool findElementText(std::string_view tag, std::string_view line, std::string_view& text) {
    TRACE_FUNCTION("Item::getXmlVal");
    const std::size_t tagAt = line.find(tag);
    if (tagAt == std::string_view::npos)
        return false;
    const std::size_t start = tagAt + tag.size();
    // DELIBERATE: the line's first "</", not the first one after the tag. If it is before the value, nothing
    // is cut, as if the line had none.
    const std::size_t end = line.find("</");
    const bool isCut = end != std::string_view::npos && end >= start;
    text = trimmed(line.substr(start, isCut ? end - start : std::string_view::npos));
    TRACE_MESSAGE(MSG_DEBUG, "getXmlVal returns '%s'", std::string(text).c_str());
    return true;
}

std::string_view requireElementText(std::string_view tag, std::string_view line) {
    std::string_view text;
    // DELIBERATE: whatever the tag is, the message names <key>; support knows it by that text.
    if (!findElementText(tag, line, text))
        throw KFDictionaryParsingException("Can't find <key> in stream", KF_SOURCE, NO_TAG_LINE);
    return text;
}

// ---- The lines of a dictionary

bool PropertyListReader::next() {
    const std::string_view keyLine = m_lines.next();
    const std::size_t keyPosition = m_lines.getLinePosition();
    std::string_view key;
    if (!findElementText("<key>", keyLine, key)) {
        if (m_observer != nullptr)
            m_observer->onEnd(keyPosition, keyLine);
        return false;
    }
    m_key = key;
    readValueLine();
    if (m_observer != nullptr)
        m_observer->onKey(keyPosition, m_key, m_lines.getLinePosition(), m_kind);
    return true;
}

void PropertyListReader::readValueLine() {
    readLine();
    m_kind = holds(m_valueLine, "<string>") ? Kind::String
             : holds(m_valueLine, "<int>")  ? Kind::Integer
             : isAtDictionary()             ? Kind::Dictionary
                                            : Kind::Skipped;
}

void PropertyListReader::skip() {
    TRACE_FUNCTION("Dictionary::skipBody");
    if (m_observer != nullptr)
        m_observer->onTooDeep(m_lines.getLinePosition());
    for (std::size_t open = 1; open > 0;) {
        if (!holds(m_lines.next(), "<key>")) {
            --open;
        } else {
            readValueLine();
            if (m_kind == Kind::Dictionary)
                ++open;
        }
    }
}

} // namespace kf::detail
