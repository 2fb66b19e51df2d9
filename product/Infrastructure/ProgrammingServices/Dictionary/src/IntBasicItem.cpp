#include "IntBasicItem.h"

#include "CallMarker.h"
#include "detail/IntegerText.h"
#include "detail/PropertyListReader.h"
#include "detail/ShownAddress.h"
#include "detail/TextBuffer.h"

#include <cstdio>
#include <memory>
#include <utility>

using kf::detail::addressText;
using kf::detail::integerOf;
using kf::detail::requireElementText;
using kf::detail::TextBuffer;

IntBasicItem::IntBasicItem() {
    TRACE_CONSTRUCTOR("IntBasicItem");
}

IntBasicItem::IntBasicItem(std::string name) : Item(std::move(name)) {
    TRACE_CONSTRUCTOR("IntBasicItem");
}

IntBasicItem::IntBasicItem(std::string name, int value) : Item(std::move(name)), m_value(value) {
    TRACE_CONSTRUCTOR("IntBasicItem");
}

IntBasicItem::IntBasicItem(const IntBasicItem& other) : Item(other), m_value(other.m_value) {
    TRACE_COPY_CONSTRUCTOR("IntBasicItem");
}

IntBasicItem& IntBasicItem::operator=(const IntBasicItem& other) {
    TRACE_METHOD();
    Item::operator=(other);
    m_value = other.m_value;
    return *this;
}

IntBasicItem::~IntBasicItem() {
    TRACE_DESTRUCTOR("IntBasicItem");
}

bool IntBasicItem::equals(const Item& other) {
    TRACE_METHOD();
    int value = 0;
    const bool result = other.getValueAs(value) && nameOf(*this) == nameOf(other) && m_value == value;
    TRACE_MESSAGE(MSG_DEBUG, "equals returns %d", result);
    return result;
}

Item* IntBasicItem::clone() {
    TRACE_METHOD();
    return std::make_unique<IntBasicItem>(*this).release();
}

bool IntBasicItem::getValueAs(int& value) const {
    TRACE_METHOD();
    value = m_value;
    return true;
}

Item* IntBasicItem::getItem(const std::string&) const {
    TRACE_METHOD();
    return nullptr;
}

Item* IntBasicItem::getItem(const char*) const {
    TRACE_METHOD();
    return nullptr;
}

std::string IntBasicItem::marshall(const std::string& indent) {
    TextBuffer text;
    marshall(indent, text);
    return std::string(text.view());
}

void IntBasicItem::marshall(std::string_view, TextBuffer& text) const {
    TRACE_METHOD();
    text.append("<int>", std::to_string(m_value), "</int>\n");
}

std::string IntBasicItem::toString(const std::string& indent) {
    TRACE_METHOD();
    char value[2 * sizeof m_value + 1];
    std::snprintf(value, sizeof value, "%x", static_cast<unsigned>(m_value));
    return indent + "IntBasicItem [" + addressText(this) + "] name : '" + nameOf(*this) + "' value : '" +
           value + "'\n";
}

void IntBasicItem::unMarshall(std::stringstream& in) {
    std::string line;
    std::getline(in, line);
    unMarshall(line);
}

void IntBasicItem::unMarshall(std::string_view line) {
    TRACE_METHOD();
    m_value = integerOf(std::string(requireElementText("<int>", line)));
}

void IntBasicItem::setValue(int value) {
    TRACE_METHOD();
    m_value = value;
}
