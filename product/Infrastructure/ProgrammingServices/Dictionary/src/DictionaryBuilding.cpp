#include "BasicItem.h"
#include "CallMarker.h"
#include "Dictionary.h"
#include "IntBasicItem.h"
#include "detail/ShownAddress.h"

#include <algorithm>
#include <utility>

// Building and merging trees.

/// Stores the item under the key, replaces what is there, and makes the item a part of this tree.
void Dictionary::store(std::string_view key, std::unique_ptr<Item> item) {
    TRACE_METHOD();
    if (isTooDeep())
        return;
    if (Dictionary* const dictionary = item->getAsDictionary())
        dictionary->setLevel(m_level + 1);
    insertOrReplace(m_children, key, std::move(item));
}

void Dictionary::insertOrReplace(Children& children, std::string_view key, std::unique_ptr<Item> item) {
    // Files hold their keys in order, so most insertions are at the end.
    children.emplace_hint(children.end(), key, nullptr)->second = std::move(item);
}

void Dictionary::setItem(const std::string& path, Item& item) {
    TRACE_METHOD();
    TRACE_MESSAGE(MSG_DEBUG, "Adding on [%x] %s for path %s item %s", kf::detail::shownAddress(this),
                  nameOf(*this).c_str(), path.c_str(), item.toString("").c_str());
    if (std::count(path.begin(), path.end(), SEPARATOR) > MAXIMUM_DEPTH - m_level) {
        TRACE_MESSAGE(MSG_ERROR, "Path %s is too deep", path.c_str());
        return;
    }
    const Path parts(path);
    const std::string head(parts.head());
    if (parts.isKey()) {
        TRACE_MESSAGE(MSG_DEBUG, "Adding on key %s item %s", head.c_str(), item.toString("").c_str());
        // Copied before the old item is deleted: that may be the item, or own it.
        store(head, std::unique_ptr<Item>(item.clone()));
        TRACE_MESSAGE(MSG_DEBUG, "Dictionary is now %s", toString(std::string()).c_str());
        return;
    }
    Item* next = child(head);
    if (next == nullptr) {
        TRACE_MESSAGE(MSG_DEBUG, "Adding new dictionary on key %s", head.c_str());
        auto made = std::make_unique<Dictionary>(head);
        next = made.get();
        store(head, std::move(made));
    }
    // A leaf in the way stays: the new item is dropped.
    if (Dictionary* const dictionary = next->getAsDictionary())
        dictionary->setItem(std::string(parts.rest().text), item);
}

template <typename Leaf, typename Value>
void Dictionary::addLeaf(const std::string& path, const Value& value) {
    const std::size_t split = path.rfind(SEPARATOR);
    if (split == std::string::npos) {
        store(path, std::make_unique<Leaf>(path, value));
    } else {
        Leaf leaf(path.substr(split + 1), value);
        setItem(path, leaf);
    }
}

void Dictionary::addValue(const std::string& path, int value) {
    TRACE_METHOD();
    addLeaf<IntBasicItem>(path, value);
}

void Dictionary::addValue(const std::string& path, const std::string& value) {
    TRACE_METHOD();
    addLeaf<BasicItem>(path, value);
}

void Dictionary::addDictionary(const std::string& path, Dictionary& source) {
    TRACE_METHOD();
    TRACE_MESSAGE(MSG_DEBUG, "adding under %s", path.c_str());
    Item* const item = getItem(path);
    if (item == nullptr)
        return;
    TRACE_MESSAGE(MSG_DEBUG, "item found %s", item->toString("").c_str());
    Dictionary* const target = item->getAsDictionary();
    if (target == nullptr)
        return;
    TRACE_MESSAGE(MSG_DEBUG, "item is a dictionary");
    // Clone all of them first: source may be below the target, where the new children can replace it.
    std::vector<std::pair<std::string, std::unique_ptr<Item>>> clones;
    for (const auto& [key, theirs] : source.m_children)
        clones.emplace_back(key, std::unique_ptr<Item>(theirs->clone()));
    for (const auto& [key, clone] : clones) {
        TRACE_MESSAGE(MSG_DEBUG, "adding key %s", key.c_str());
        target->setItem(key, *clone);
    }
}

void Dictionary::mergeDictionary(Dictionary& other) {
    TRACE_METHOD();
    // Clone everything before anything is stored: either tree may be a part of the other.
    std::vector<Addition> additions;
    merge(other, additions);
    for (Addition& addition : additions)
        addition.target.store(addition.key, std::move(addition.item));
}

/// Collects what this tree lacks of the other one.
void Dictionary::merge(const Dictionary& other, std::vector<Addition>& additions) {
    TRACE_METHOD();
    TRACE_MESSAGE(MSG_DEBUG, "merging under %s", nameOf(*this).c_str());
    for (const auto& [key, theirs] : other.m_children) {
        TRACE_MESSAGE(MSG_DEBUG, "Looking for merge key %s", key.c_str());
        Item* const mine = child(key);
        if (mine == nullptr) {
            additions.push_back({*this, key, std::unique_ptr<Item>(theirs->clone())});
            continue;
        }
        Dictionary* const ours = mine->getAsDictionary();
        const Dictionary* const dictionary = theirs->getAsDictionary();
        if (ours != nullptr && dictionary != nullptr)
            ours->merge(*dictionary, additions);
        else
            TRACE_MESSAGE(MSG_DEBUG, "incompatible structure for key %s", key.c_str());
    }
}
