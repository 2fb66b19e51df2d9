#include "Dictionary.h"

#include "CallMarker.h"
#include "ContractChecks.h"
#include "detail/ShownAddress.h"

#include <algorithm>
#include <utility>

using kf::detail::addressText;
using kf::detail::shownAddress;

// The tree itself: copying, comparing, looking up and removing. DictionaryBuilding.cpp and DictionaryText.cpp
// hold the rest.

static const char KF_SOURCE[] = "product/Infrastructure/ProgrammingServices/Dictionary/src/Dictionary";

Dictionary::Dictionary() : Item("root") {
    TRACE_CONSTRUCTOR("Dictionary");
}

Dictionary::Dictionary(std::string name) : Item(std::move(name)) {
    TRACE_CONSTRUCTOR("Dictionary");
}

Dictionary::Dictionary(const Dictionary& other) : Dictionary(other, 1) {}

Dictionary::Dictionary(const Dictionary& other, int level) : Item(other), m_level(level) {
    TRACE_COPY_CONSTRUCTOR("Dictionary");
    m_children = copyChildren(other);
}

Dictionary& Dictionary::operator=(const Dictionary& other) {
    TRACE_METHOD();
    // Copy before anything is deleted, because the other may be a part of this tree. An assignment to itself
    // copies nothing, since it must leave the dictionary empty.
    Children children;
    if (this != &other)
        children = copyChildren(other);
    Item::operator=(other);
    m_children = std::move(children);
    return *this;
}

Dictionary::~Dictionary() {
    TRACE_DESTRUCTOR("Dictionary");
    m_children.clear();
}

Dictionary::Children Dictionary::copyChildren(const Dictionary& other) const {
    TRACE_METHOD();
    Children copies;
    if (!other.m_children.empty() && isTooDeep())
        return copies;
    for (const auto& [key, item] : other.m_children) {
        const Dictionary* const dictionary = item->getAsDictionary();
        std::unique_ptr<Item> copy;
        if (dictionary != nullptr)
            copy.reset(new Dictionary(*dictionary, m_level + 1));
        else
            copy.reset(item->clone());
        insertOrReplace(copies, key, std::move(copy));
    }
    return copies;
}

bool Dictionary::tellTooDeep() const {
    TRACE_METHOD();
    TRACE_MESSAGE(MSG_ERROR, "Dictionary %s is too deep, it stays empty", nameOf(*this).c_str());
    return true;
}

void Dictionary::setLevel(int level) {
    TRACE_METHOD();
    m_level = level;
    if (!m_children.empty() && isTooDeep())
        m_children.clear();
    for (const auto& entry : m_children)
        if (Dictionary* const dictionary = entry.second->getAsDictionary())
            dictionary->setLevel(level + 1);
}

Item* Dictionary::clone() {
    TRACE_METHOD();
    return std::make_unique<Dictionary>(*this).release();
}

bool Dictionary::equals(const Item& other) {
    TRACE_METHOD();
    // getAsDictionary() is not const, but changes nothing.
    const Dictionary* const dictionary = const_cast<Item&>(other).getAsDictionary();
    if (dictionary == nullptr) {
        TRACE_MESSAGE(MSG_DEBUG, "Other is not a dictionary");
        return false;
    }
    if (m_children.size() != dictionary->m_children.size()) {
        TRACE_MESSAGE(MSG_DEBUG, "Dictionary have different sizes");
        return false;
    }
    bool result = true;
    for (const auto& [key, theirs] : dictionary->m_children) {
        Item* const mine = child(key);
        if (mine == nullptr) {
            TRACE_MESSAGE(MSG_DEBUG, "Key not found %s", key.c_str());
            return false;
        }
        result = mine->equals(*theirs);
        if (!result)
            break;
    }
    TRACE_MESSAGE(MSG_DEBUG, "equals returns %d", result);
    return result;
}

Dictionary* Dictionary::getAsDictionary() {
    TRACE_METHOD();
    return this;
}

bool Dictionary::hasKey(const std::string& key) const {
    TRACE_METHOD();
    return m_children.find(key) != m_children.end();
}

Item* Dictionary::getFirstItem() const {
    TRACE_METHOD();
    return m_children.empty() ? nullptr : m_children.begin()->second.get();
}

// ---- Paths

Item* Dictionary::getItem(const std::string& path) const {
    return getItem(Path{path});
}

Item* Dictionary::getItem(const char* cpath) const {
    TRACE_METHOD();
    KF_REQUIRE(cpath != NULL, 317);
    if (cpath == nullptr)
        return nullptr;
    return isPlain() ? getItem(Path{cpath}) : getItem(std::string(cpath));
}

Item* Dictionary::getItem(Path path) const {
    TRACE_METHOD();
    TRACE_MESSAGE(MSG_DEBUG, "getting on [%x] %s path %s", shownAddress(this), nameOf(*this).c_str(),
                  std::string(path.text).c_str());
    Item* const found = child(path.head());
    if (path.isKey()) {
        if (found == nullptr)
            TRACE_MESSAGE(MSG_DEBUG, "Key %s not found", std::string(path.text).c_str());
        return found;
    }
    if (found == nullptr) {
        TRACE_MESSAGE(MSG_DEBUG, "Head key %s not found", std::string(path.head()).c_str());
        return nullptr;
    }
    const Dictionary* const dictionary = found->getAsDictionary();
    if (dictionary == nullptr) {
        TRACE_MESSAGE(MSG_DEBUG, "Child with key %s is not a dictionary", std::string(path.head()).c_str());
        return nullptr;
    }
    return dictionary->isPlain() ? dictionary->getItem(path.rest())
                                 : dictionary->getItem(std::string(path.rest().text));
}

const char* Dictionary::getValue(const std::string& path) const {
    TRACE_METHOD();
    const Item* const item = getItem(path);
    return item != nullptr ? item->getValue() : nullptr;
}

bool Dictionary::getValueAs(const std::string& path, int& value) const {
    TRACE_METHOD();
    const Item* const item = getItem(path);
    return item != nullptr && item->getValueAs(value);
}

bool Dictionary::contains(const std::string& path) {
    TRACE_METHOD();
    const Path parts(path);
    if (child(parts.head()) == nullptr)
        return false;
    if (parts.isKey())
        return true;
    // DELIBERATE: every child, not only the one under the head; callers rely on the looser answer.
    const std::string rest(parts.rest().text);
    return std::any_of(m_children.begin(), m_children.end(),
                       [&rest](const auto& entry) { return entry.second->contains(rest); });
}

// ---- Searches

Item* Dictionary::findItem(const std::string& key) {
    TRACE_METHOD();
    TRACE_MESSAGE(MSG_DEBUG, "looking for %s", key.c_str());
    if (Item* const item = getItem(key)) {
        TRACE_MESSAGE(MSG_DEBUG, "item found %s", item->toString("").c_str());
        return item;
    }
    TRACE_MESSAGE(MSG_DEBUG, "item not found looking in children");
    for (const auto& entry : m_children) {
        Dictionary* const dictionary = entry.second->getAsDictionary();
        if (dictionary == nullptr)
            TRACE_MESSAGE(MSG_DEBUG, "child is not a dictionary");
        else if (Item* const item = dictionary->findItem(key))
            return item;
    }
    return nullptr;
}

const char* Dictionary::findValue(const std::string& key) const {
    TRACE_METHOD();
    TRACE_MESSAGE(MSG_DEBUG, "looking for %s", key.c_str());
    if (Item* const item = getItem(key)) {
        TRACE_MESSAGE(MSG_DEBUG, "item found %s", item->toString("").c_str());
        return item->getValue();
    }
    TRACE_MESSAGE(MSG_DEBUG, "item not found looking in children");
    for (const auto& entry : m_children) {
        const Dictionary* const dictionary = entry.second->getAsDictionary();
        if (dictionary == nullptr)
            TRACE_MESSAGE(MSG_DEBUG, "child is not a dictionary");
        else if (const char* const value = dictionary->findValue(key))
            return value;
    }
    return nullptr;
}

std::list<Item*> Dictionary::findItems(const std::string& key) {
    TRACE_METHOD();
    std::list<Item*> items;
    doFindItems(key, items);
    return items;
}

void Dictionary::doFindItems(const std::string& key, std::list<Item*>& items) {
    TRACE_METHOD();
    if (Item* const item = getItem(key)) {
        items.push_back(item);
        return;
    }
    for (const auto& entry : m_children)
        if (Dictionary* const dictionary = entry.second->getAsDictionary())
            dictionary->doFindItems(key, items);
}

std::list<const char*> Dictionary::findValues(const std::string& key) const {
    TRACE_METHOD();
    std::list<const char*> values;
    doFindValues(key, values);
    return values;
}

void Dictionary::doFindValues(const std::string& key, std::list<const char*>& values) const {
    TRACE_METHOD();
    if (const Item* const item = getItem(key)) {
        if (const char* const value = item->getValue())
            values.push_back(value);
        return;
    }
    for (const auto& entry : m_children)
        if (const Dictionary* const dictionary = entry.second->getAsDictionary())
            dictionary->doFindValues(key, values);
}

bool Dictionary::contains(Item& item) {
    TRACE_METHOD();
    return !getItemPath(item).empty();
}

std::string Dictionary::getItemPath(Item& item) {
    TRACE_METHOD();
    TRACE_MESSAGE(MSG_DEBUG, "looking for item [%x] name %s in %x", shownAddress(&item), nameOf(item).c_str(),
                  shownAddress(this));
    const std::string path = doGetItemPath(item, std::string());
    TRACE_MESSAGE(MSG_DEBUG, "item path is %s", path.c_str());
    return path;
}

std::string Dictionary::doGetItemPath(Item& item, const std::string& prefix) const {
    TRACE_METHOD();
    if (Item* const namesake = child(nameOf(item)))
        return item.equals(*namesake) ? prefix + nameOf(item) : std::string();
    std::string path;
    for (auto entry = m_children.begin(); entry != m_children.end() && path.empty(); ++entry)
        if (const Dictionary* const dictionary = entry->second->getAsDictionary())
            path = dictionary->doGetItemPath(item, prefix + entry->first + SEPARATOR);
    return path;
}

// ---- Removing

void Dictionary::clear() {
    TRACE_METHOD();
    m_children.clear();
}

void Dictionary::removeAllItems() {
    TRACE_METHOD();
    clear();
}

void Dictionary::removeItem(const std::string& path) {
    TRACE_METHOD();
    doRemoveItem(Path{path});
}

void Dictionary::doRemoveItem(Path path) {
    TRACE_METHOD();
    const auto found = m_children.find(path.head());
    if (found == m_children.end())
        return;
    if (path.isKey())
        m_children.erase(found);
    else if (Dictionary* const dictionary = found->second->getAsDictionary())
        dictionary->doRemoveItem(path.rest());
}

void Dictionary::removeItem(Item& item) {
    TRACE_METHOD();
    const auto found = m_children.find(nameOf(item));
    if (found != m_children.end() && found->second->equals(item))
        m_children.erase(found);
}

void Dictionary::removeAllItems(Item& item) {
    TRACE_METHOD();
    // The item may be one of those that are removed, and the others are compared with it afterwards.
    const std::unique_ptr<Item> sample(item.clone());
    removeEverywhere(*sample);
}

void Dictionary::removeEverywhere(Item& item) {
    TRACE_METHOD();
    removeItem(item);
    for (const auto& entry : m_children)
        if (Dictionary* const dictionary = entry.second->getAsDictionary())
            dictionary->removeEverywhere(item);
}

// ---- Trace text

std::string Dictionary::toString(const std::string& indent) {
    TRACE_METHOD();
    // No line break: readers of traces expect this form.
    std::string text = indent + "Dictionary [" + addressText(this) + "] '" + nameOf(*this) + "' items :";
    for (const auto& entry : m_children)
        text += entry.second->toString(indent + '\t');
    return text;
}
