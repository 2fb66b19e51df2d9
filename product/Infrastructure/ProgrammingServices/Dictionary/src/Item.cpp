#include "Item.h"

#include "CallMarker.h"
#include "detail/PropertyListReader.h"

#include <utility>

Item::Item() : Item(std::string()) {}

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

std::string Item::trim(const std::string& text) {
    return std::string(kf::detail::trimmed(text));
}

std::string Item::getXmlVal(const char* tag, const std::string& line) {
    return std::string(kf::detail::requireElementText(tag, line));
}
