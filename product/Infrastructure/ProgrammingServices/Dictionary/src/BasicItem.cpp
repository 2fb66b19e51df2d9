#include "BasicItem.h"

#include "CallMarker.h"
#include "TextBuffer.h"

#include <memory>

BasicItem::BasicItem() {
    TRACE_CONSTRUCTOR("BasicItem");
}

BasicItem::BasicItem(std::string name) : Item(std::move(name)) {
    TRACE_CONSTRUCTOR("BasicItem");
}

BasicItem::BasicItem(Unnamed unnamed) : Item(unnamed) {
    TRACE_CONSTRUCTOR("BasicItem");
}

BasicItem::BasicItem(std::string name, std::string_view value) : Item(std::move(name)) {
    TRACE_CONSTRUCTOR("BasicItem");
    assign(value);
}

BasicItem::BasicItem(const BasicItem& other) : Item(other) {
    TRACE_COPY_CONSTRUCTOR("BasicItem");
    assign(other.value());
}

BasicItem& BasicItem::operator=(const BasicItem& other) {
    TRACE_METHOD();
    Item::operator=(other);
    assign(other.value());
    return *this;
}

BasicItem::~BasicItem() {
    TRACE_DESTRUCTOR("BasicItem");
}

bool BasicItem::equals(const Item& other) {
    TRACE_METHOD();
    const char* const theirs = other.getValue();
    const bool result = theirs != nullptr && name() == nameOf(other) && value() == theirs;
    TRACE_MESSAGE(MSG_DEBUG, "equals returns %d", result);
    return result;
}

Item* BasicItem::clone() {
    TRACE_METHOD();
    return std::make_unique<BasicItem>(*this).release();
}

const char* BasicItem::getValue() const {
    TRACE_METHOD();
    return m_length > 0 ? value().data() : "";
}

Item* BasicItem::getItem(const std::string&) const {
    TRACE_METHOD();
    return nullptr;
}

Item* BasicItem::getItem(const char*) const {
    TRACE_METHOD();
    return nullptr;
}

std::string BasicItem::marshall(const std::string& indent) {
    TextBuffer text;
    marshall(indent, text);
    return std::string(text.view());
}

void BasicItem::marshall(std::string_view indent, TextBuffer& text) const {
    TRACE_METHOD();
    text.append(indent, "<string>", value(), "</string>\n");
}

std::string BasicItem::toString(const std::string& indent) {
    TRACE_METHOD();
    std::string text = indent + "BasicItem [" + addressText() + "] name : '" + name() + "' value : '";
    return text.append(value()).append("'\n");
}

void BasicItem::unMarshall(std::stringstream& in) {
    TRACE_METHOD();
    std::string line;
    std::getline(in, line);
    assign(requireXmlVal(line, findTag("<string>", line)));
}

std::unique_ptr<BasicItem> BasicItem::read(std::string_view line, Tag tag) {
    TRACE_FUNCTION("BasicItem::unMarshall");
    std::string_view value;
    findXmlVal(line, tag, value);
    std::unique_ptr<BasicItem> item(new (Room{value.size() + 1}) BasicItem(Unnamed()));
    char* const text = reinterpret_cast<char*>(item.get() + 1);
    value.copy(text, value.size());
    text[value.size()] = '\0';
    item->m_length = value.size();
    return item;
}

void BasicItem::setValue(const std::string& value) {
    TRACE_METHOD();
    assign(value);
}

void BasicItem::assign(std::string_view value) {
    std::unique_ptr<char[]> text; // first, because the value may be a part of the old text
    if (!value.empty()) {
        text.reset(new char[value.size() + 1]);
        value.copy(text.get(), value.size());
        text[value.size()] = '\0';
    }
    m_text = std::move(text);
    m_length = value.size();
}
