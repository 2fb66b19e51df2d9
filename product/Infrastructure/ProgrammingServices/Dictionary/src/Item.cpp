#include "Item.h"

#include "CallMarker.h"
#include "KFDictionaryParsingException.h"

#include <cstdio>
#include <utility>

static const char KF_SOURCE[] = "product/Infrastructure/ProgrammingServices/Dictionary/src/Item";
static constexpr int NO_TAG_LINE = 180;

Item::Item() {
    TRACE_CONSTRUCTOR("Item");
}

Item::Item(std::string name) : m_name(std::move(name)) {
    TRACE_CONSTRUCTOR("Item");
}

Item::Item(const Item& other) : m_name(other.m_name) {
    TRACE_COPY_CONSTRUCTOR("Item");
}

Item& Item::operator=(const Item& other) {
    TRACE_METHOD();
    m_name = other.m_name;
    return *this;
}

Item::~Item() {
    TRACE_DESTRUCTOR("Item");
}

const char* Item::findValue(const std::string&) const {
    TRACE_METHOD();
    return nullptr;
}

std::list<const char*> Item::findValues(const std::string&) {
    TRACE_METHOD();
    return {};
}

Dictionary* Item::getAsDictionary() {
    TRACE_METHOD();
    return nullptr;
}

const char* Item::getValue() const {
    TRACE_METHOD();
    return nullptr;
}

const char* Item::getValue(const std::string&) const {
    TRACE_METHOD();
    return nullptr;
}

bool Item::getValueAs(int&) const {
    TRACE_METHOD();
    return false;
}

bool Item::getValueAs(const std::string&, int&) const {
    TRACE_METHOD();
    return false;
}

bool Item::contains(const std::string&) {
    TRACE_METHOD();
    return false;
}

const std::string& Item::getName() const {
    TRACE_METHOD();
    return m_name;
}

void Item::setName(const std::string& name) {
    TRACE_METHOD();
    m_name = name;
}

std::string Item::addressText() const {
    char text[2 * sizeof(void*) + 3];
    std::snprintf(text, sizeof text, "%p", static_cast<const void*>(this));
    return text;
}

std::string_view Item::trimmed(std::string_view text) {
    TRACE_FUNCTION("Item::trim");
    static constexpr const char BLANKS[] = " \t\n";
    const std::size_t first = text.find_first_not_of(BLANKS);
    if (first == std::string_view::npos)
        return {};
    return text.substr(first, text.find_last_not_of(BLANKS) - first + 1);
}

std::string Item::trim(const std::string& text) {
    return std::string(trimmed(text));
}

bool Item::findXmlVal(std::string_view tag, std::string_view line, std::string_view& value) {
    TRACE_FUNCTION("Item::getXmlVal");
    const std::size_t tagAt = line.find(tag);
    if (tagAt == std::string_view::npos)
        return false;
    const std::size_t start = tagAt + tag.size();
    // Deliberately the line's first "</", not the first one behind the tag. Where it stands before the value
    // there is nothing to cut at, as if the line had none.
    const std::size_t end = line.find("</");
    value =
        end != std::string_view::npos && end >= start ? line.substr(start, end - start) : line.substr(start);
    value = trimmed(value);
    TRACE_MESSAGE(MSG_DEBUG, "getXmlVal returns '%s'", std::string(value).c_str());
    return true;
}

std::string Item::getXmlVal(const char* tag, const std::string& line) {
    return std::string(requireXmlVal(tag, line));
}

std::string_view Item::requireXmlVal(std::string_view tag, std::string_view line) {
    std::string_view value;
    // Whatever the tag is, the message names <key>, deliberately: support knows it by that text.
    if (!findXmlVal(tag, line, value))
        throw KFDictionaryParsingException("Can't find <key> in stream", KF_SOURCE, NO_TAG_LINE);
    return value;
}
