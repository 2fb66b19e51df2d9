#pragma once

#include "Item.h"

#include <map>
#include <memory>
#include <string_view>
#include <typeinfo>
#include <vector>

namespace kf::detail {
class DictionaryReadingObserver;
class PropertyListReader;
class TextBuffer;
} // namespace kf::detail

/// The inner node of a property-list tree: an item that owns named items, in byte-wise order of their keys.
///
/// A path joins keys with full stops; a key that itself holds a full stop cannot be reached by path. Look-ups
/// never throw and never add keys: what is absent is null, false or an empty text. They lend pointers that
/// stay valid until the item is removed, its key is written again, or the dictionary goes. Builders store
/// copies; the caller keeps what it passed, and may pass the tree itself or a part of it.
///
/// A tree is at most MAXIMUM_DEPTH dictionaries deep, the topmost included, so that no operation exhausts the
/// stack, whatever a file holds. A dictionary below that stays empty, and an error is traced.
///
/// A subclass's own operations are asked for wherever a tree asks one of its items or itself, and builders
/// clone it. DELIBERATE: a copied or assigned tree holds ordinary dictionaries in its place.
///
/// Errors: only what says so throws, apart from std::bad_alloc.
/// Thread: a tree is used by one thread at a time.
///
/// Warning: this is a global name. A program that links the framework and defines a Dictionary of its own
/// outside a namespace gets one of the two without a word from the linker.
class Dictionary : public Item {
public:
    static constexpr int MAXIMUM_DEPTH = 512;

    /// An empty dictionary named "root".
    Dictionary();
    explicit Dictionary(std::string name);
    Dictionary(const Dictionary& other);
    /// Takes over the other's name and a copy of its content. DELIBERATE: a dictionary assigned to
    /// itself is left empty, there is no guard.
    Dictionary& operator=(const Dictionary& other);

    // ---- Item

    bool equals(const Item& other) override;
    Item* clone() override;
    ~Dictionary() override;
    /// As findItem, the item's text. A dictionary that has the key, but not as a string leaf, answers null at
    /// once; its owner goes on looking in its other children.
    const char* findValue(const std::string& key) const override;
    Dictionary* getAsDictionary() override;
    using Item::getValue;
    const char* getValue(const std::string& path) const override;
    using Item::getValueAs;
    bool getValueAs(const std::string& path, int& value) const override;
    /// DELIBERATE: looser than getItem. "a.b" is true when there is a key a and any child dictionary, not only
    /// a, says true for b.
    bool contains(const std::string& path) override;
    Item* getItem(const std::string& path) const override;
    /// @param cpath not null (a broken contract; null is returned where that does not end the process)
    Item* getItem(const char* cpath) const override;
    /// The body: <dict>, for each child its <key> line and its value element, </dict>.
    std::string marshall(const std::string& indent) override;
    std::string toString(const std::string& indent) override;
    /// Reads a body, one element per line, into this dictionary; keys that it already has are replaced,
    /// others stay. Returns at once when the first line lacks <dict>. DELIBERATE: any later line that lacks <key>
    /// where a key is due closes the dictionary. The stream is left behind the last line that was used.
    void unMarshall(std::stringstream& in) override;

    // ---- Look-ups over the whole tree

    /// This very key, no path.
    virtual bool hasKey(const std::string& key) const;
    /// All that findItems finds, of which only the string leaves count. Asked through an Item, the answer is
    /// an empty list: Item::findValues is another operation, and kept.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Woverloaded-virtual"
    virtual std::list<const char*> findValues(const std::string& key) const;
#pragma GCC diagnostic pop
    /// Depth first, in key order, key as a path on every level; the first hit, or null.
    virtual Item* findItem(const std::string& key);
    /// As findItem, all hits; below a dictionary that answered nothing more is looked for.
    virtual std::list<Item*> findItems(const std::string& key);
    virtual bool contains(Item& item);
    /// The path of an item equal to this one (equal, not the same), or an empty text. A dictionary that has a
    /// different item under the name ends the search below it.
    virtual std::string getItemPath(Item& item);
    /// The child with the smallest key, or null.
    Item* getFirstItem() const;

    // ---- Changing

    void clear();
    /// The same as clear().
    void removeAllItems();
    /// Removes and deletes the item at a path; what is missing is ignored.
    void removeItem(const std::string& path);
    /// Removes and deletes the child under the item's name if it equals the item.
    void removeItem(Item& item);
    /// removeItem(item), here and in all dictionaries below.
    void removeAllItems(Item& item);

    /// Stores a copy of the item at the path, in place of what is there; makes the dictionaries that the path
    /// lacks. The copy keeps the item's own name; its key is the end of the path. A leaf in the middle of the
    /// path, or a path too deep (an error is traced), leaves the tree as it is.
    void setItem(const std::string& path, Item& item);
    /// Stores a leaf, named like its key, at the path; otherwise as setItem.
    void addValue(const std::string& path, int value);
    void addValue(const std::string& path, const std::string& value);
    /// Copies the children of source, one setItem each, into the dictionary at the path; does nothing when
    /// there is none.
    void addDictionary(const std::string& path, Dictionary& source);
    /// Copies from the other tree what this one lacks, dictionary by dictionary. DELIBERATE: on any
    /// conflict this tree wins, since who merges defaults into settings must not lose a setting.
    void mergeDictionary(Dictionary& other);

    // ---- Files

    /// Writes the property list, in place of an existing file. DELIBERATE: says nothing when it cannot.
    void saveToFile(const std::string& path);
    /// Reads a property list into this dictionary; keys that it already has are replaced, others stay. The
    /// text ends at the first zero byte. A malformed body is no error: what came before is kept.
    /// @throw KFDictionaryFileException the file cannot be opened or read; this dictionary is unchanged
    /// @throw KFDictionaryParsingException no XML header, or not a property list of version 1.0; likewise
    void loadFromFile(const std::string& path) {
        loadFromFile(path, nullptr);
    }
    /// The same.
    /// @param observer borrowed; is told of the lines. Not of a subclass's: those are read out of a stream
    void loadFromFile(const std::string& path, kf::detail::DictionaryReadingObserver* observer);

private:
    using Children = std::map<std::string, std::unique_ptr<Item>, std::less<>>;

    /// A copy that will stand at this level.
    Dictionary(const Dictionary& other, int level);

    /// A path, or the rest of one: a part of a text that is not copied. A type of its own, so that literals
    /// go to the public operations.
    struct Path {
        explicit Path(std::string_view path) : text(path), separator(path.find(SEPARATOR)) {}
        std::string_view head() const { return text.substr(0, separator); }
        bool isKey() const { return separator == std::string_view::npos; }
        /// What follows the first separator; not for a key.
        Path rest() const { return Path(text.substr(separator + 1)); }

        const std::string_view text;
        const std::size_t separator;
    };
    static constexpr char SEPARATOR = '.';

protected:
    // What the operations of the same name do here, over parts of a path and over one text, without copies.
    // Not private, so that a subclass can write `using Dictionary::getItem`.
    Item* getItem(Path path) const;
    void marshall(std::string& indent, kf::detail::TextBuffer& text) const;
    void unMarshall(kf::detail::PropertyListReader& reader);

private:
    /// The item, where it is a dictionary and none of a subclass: only then what stands above may go past the
    /// virtual operations.
    static const Dictionary* asPlain(const Item& item) {
        return typeid(item) == typeid(Dictionary) ? static_cast<const Dictionary*>(&item) : nullptr;
    }
    bool isPlain() const {
        return asPlain(*this) != nullptr;
    }

    /// item.marshall(), or the quick way to the same.
    static void askToMarshall(Item& item, std::string& indent, kf::detail::TextBuffer& text);

    /// The child under the key, or null where this dictionary says that it has no such key.
    Item* child(std::string_view key) const {
        if (!isPlain() && !hasKey(std::string(key)))
            return nullptr;
        const auto found = m_children.find(key);
        return found != m_children.end() ? found->second.get() : nullptr;
    }
    void doFindValues(const std::string& key, std::list<const char*>& values) const;
    void doFindItems(const std::string& key, std::list<Item*>& items);
    std::string doGetItemPath(Item& item, const std::string& prefix) const;
    void doRemoveItem(Path path);
    void removeEverywhere(Item& item);
    struct Addition {
        Dictionary& target;
        std::string key;
        std::unique_ptr<Item> item;
    };
    void merge(const Dictionary& other, std::vector<Addition>& additions);

    template <typename Leaf, typename Value>
    void addLeaf(const std::string& path, const Value& value);
    void readLeaf(const kf::detail::PropertyListReader& reader);
    Dictionary& addChild(const std::string& key);

    /// Too deep to hold children: true, and an error is traced.
    bool isTooDeep() const {
        return m_level > MAXIMUM_DEPTH && tellTooDeep();
    }
    bool tellTooDeep() const;
    void setLevel(int level);
    Children copyChildren(const Dictionary& other) const;
    void store(std::string_view key, std::unique_ptr<Item> item);
    static void place(Children& children, std::string_view key, std::unique_ptr<Item> item);

    int m_level = 1; // 1 where nobody owns this dictionary, else one more than its owner's
    Children m_children;
};
