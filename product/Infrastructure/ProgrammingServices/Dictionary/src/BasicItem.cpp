#include "BasicItem.h"

#include "CallMarker.h"

#include <memory>

BasicItem::BasicItem() {
    TRACE_CONSTRUCTOR("BasicItem");
}

BasicItem::BasicItem(std::string name) : Item(std::move(name)) {
    TRACE_CONSTRUCTOR("BasicItem");
}

BasicItem::BasicItem(std::string name, std::string value) : Item(std::move(name)), m_value(std::move(value)) {
    TRACE_CONSTRUCTOR("BasicItem");
}

BasicItem::BasicItem(const BasicItem& other) : Item(other), m_value(other.m_value) {
    TRACE_COPY_CONSTRUCTOR("BasicItem");
}

BasicItem& BasicItem::operator=(const BasicItem& other) {
    TRACE_METHOD();
    Item::operator=(other);
    m_value = other.m_value;
    return *this;
}

BasicItem::~BasicItem() {
    TRACE_DESTRUCTOR("BasicItem");
}

bool BasicItem::equals(const Item& other) {
    TRACE_METHOD();
    const char* const value = other.getValue();
    const bool result = value != nullptr && m_name == nameOf(other) && m_value == value;
    TRACE_MESSAGE(MSG_DEBUG, "equals returns %d", result);
    return result;
}

Item* BasicItem::clone() {
    TRACE_METHOD();
    return std::make_unique<BasicItem>(*this).release();
}

const char* BasicItem::getValue() const {
    TRACE_METHOD();
    return m_value.c_str();
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
    std::string text;
    marshall(indent, text);
    return text;
}

void BasicItem::marshall(std::string_view indent, std::string& text) const {
    TRACE_METHOD();
    text.append(indent).append("<string>").append(m_value).append("</string>\n");
}

std::string BasicItem::toString(const std::string& indent) {
    TRACE_METHOD();
    return indent + "BasicItem [" + addressText() + "] name : '" + m_name + "' value : '" + m_value + "'\n";
}

void BasicItem::unMarshall(std::stringstream& in) {
    std::string line;
    std::getline(in, line);
    unMarshall(line);
}

void BasicItem::unMarshall(std::string_view line) {
    TRACE_METHOD();
    m_value = requireXmlVal("<string>", line);
}

void BasicItem::setValue(const std::string& value) {
    TRACE_METHOD();
    m_value = value;
}
