#include "BasicItem.h"

#include "CallMarker.h"
#include "detail/PropertyListReader.h"
#include "detail/ShownAddress.h"
#include "detail/TextBuffer.h"

#include <memory>
#include <utility>

using kf::detail::addressText;
using kf::detail::LeafText;
using kf::detail::requireElementText;
using kf::detail::TextBuffer;

BasicItem::BasicItem() {
    TRACE_CONSTRUCTOR("BasicItem");
}

BasicItem::BasicItem(std::string name) : Item(std::move(name)) {
    TRACE_CONSTRUCTOR("BasicItem");
}

BasicItem::BasicItem(std::string name, std::string_view value) : Item(std::move(name)), m_value(value) {
    TRACE_CONSTRUCTOR("BasicItem");
}

BasicItem::BasicItem(const BasicItem& other) : Item(other), m_value(other.m_value.view()) {
    TRACE_COPY_CONSTRUCTOR("BasicItem");
}

BasicItem& BasicItem::operator=(const BasicItem& other) {
    TRACE_METHOD();
    Item::operator=(other);
    m_value.assign(other.m_value.view());
    return *this;
}

BasicItem::~BasicItem() {
    TRACE_DESTRUCTOR("BasicItem");
}

bool BasicItem::equals(const Item& other) {
    TRACE_METHOD();
    const char* const theirs = other.getValue();
    const bool result = theirs != nullptr && nameOf(*this) == nameOf(other) && m_value.view() == theirs;
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
    TextBuffer text;
    marshall(indent, text);
    return std::string(text.view());
}

void BasicItem::marshall(std::string_view indent, TextBuffer& text) const {
    TRACE_METHOD();
    text.append(indent, "<string>", m_value.view(), "</string>\n");
}

std::string BasicItem::toString(const std::string& indent) {
    TRACE_METHOD();
    return indent + "BasicItem [" + addressText(this) + "] name : '" + nameOf(*this) + "' value : '" +
           std::string(m_value.view()) + "'\n";
}

void BasicItem::unMarshall(std::stringstream& in) {
    TRACE_METHOD();
    std::string line;
    std::getline(in, line);
    m_value.assign(requireElementText("<string>", line));
}

std::unique_ptr<BasicItem> BasicItem::read(const std::string& name, std::string_view line) {
    TRACE_FUNCTION("BasicItem::unMarshall");
    static_assert(sizeof(BasicItem) == sizeof(Item) + sizeof(LeafText), "the value is behind the item");
    const std::string_view value = requireElementText("<string>", line);
    std::unique_ptr<BasicItem> item(new (Room{LeafText::sizeBehind(value)}) BasicItem(name));
    item->m_value.placeBehind(value);
    return item;
}

void BasicItem::setValue(const std::string& value) {
    TRACE_METHOD();
    m_value.assign(value);
}
