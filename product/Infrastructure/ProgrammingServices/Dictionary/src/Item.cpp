#include "Item.h"

#include "CallMarker.h"
#include "KFDictionaryParsingException.h"

#include <cstdio>
#include <utility>

static const char KF_SOURCE[] = "product/Infrastructure/ProgrammingServices/Dictionary/src/Item";
static constexpr int NO_TAG_LINE = 180;

Item::Item() : Item(std::string()) {}

Item::Item(std::string name) {
    TRACE_CONSTRUCTOR("Item");
    rename(std::move(name));
}

Item::Item(Unnamed) {
    TRACE_CONSTRUCTOR("Item");
}

Item::Item(const Item& other) {
    TRACE_COPY_CONSTRUCTOR("Item");
    rename(*other.m_name);
}

Item& Item::operator=(const Item& other) {
    TRACE_METHOD();
    if (this != &other)
        rename(*other.m_name);
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
    return *m_name;
}

void Item::setName(const std::string& name) {
    TRACE_METHOD();
    rename(name);
}

void Item::rename(std::string name) {
    m_ownName = std::make_unique<const std::string>(std::move(name));
    m_name = m_ownName.get();
}

std::string Item::addressText() const {
    char text[2 * sizeof(void*) + 3];
    std::snprintf(text, sizeof text, "%p", static_cast<const void*>(this));
    return text;
}

static bool isBlank(char character) {
    return character == ' ' || character == '\t' || character == '\n';
}

static inline std::string_view trimmed(std::string_view text) {
    TRACE_FUNCTION("Item::trim");
    while (!text.empty() && isBlank(text.front()))
        text.remove_prefix(1);
    while (!text.empty() && isBlank(text.back()))
        text.remove_suffix(1);
    return text;
}

std::string Item::trim(const std::string& text) {
    return std::string(trimmed(text));
}

bool Item::findXmlVal(std::string_view line, Tag tag, std::string_view& value) {
    TRACE_FUNCTION("Item::getXmlVal");
    if (!tag.isThere())
        return false;
    // Deliberately the line's first "</", not the first one behind the tag. Where it stands before the value
    // there is nothing to cut at, as if the line had none.
    const std::size_t end = line.find("</", tag.searched);
    const bool isCut = end != std::string_view::npos && end >= tag.end;
    value = trimmed(line.substr(tag.end, isCut ? end - tag.end : std::string_view::npos));
    TRACE_MESSAGE(MSG_DEBUG, "getXmlVal returns '%s'", std::string(value).c_str());
    return true;
}

std::string Item::getXmlVal(const char* tag, const std::string& line) {
    return std::string(requireXmlVal(line, findTag(tag, line)));
}

std::string_view Item::requireXmlVal(std::string_view line, Tag tag) {
    std::string_view value;
    // Whatever the tag is, the message names <key>, deliberately: support knows it by that text.
    if (!findXmlVal(line, tag, value))
        throw KFDictionaryParsingException("Can't find <key> in stream", KF_SOURCE, NO_TAG_LINE);
    return value;
}
