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
/// A path joins keys with full stops; a key that contains a full stop cannot be reached by path. Look-ups
/// never throw and never add keys: an absent item is null, false or an empty text. They return borrowed
/// pointers, which are valid until the item is removed, its key is set again, or the dictionary is destroyed.
/// Builders store copies; the caller keeps what it passed, and may pass the tree itself or a part of it.
///
/// A tree is at most MAXIMUM_DEPTH dictionaries deep, the topmost included, so that no operation exhausts the
/// stack, whatever a file contains. A dictionary below that stays empty, and an error is traced.
///
/// A tree calls the virtual operations of a subclass wherever it uses one of its items or itself, and
/// builders clone() it. DELIBERATE: a copied or assigned tree has ordinary dictionaries in place of a
/// subclass's.
///
/// Errors: only operations that say so throw, apart from std::bad_alloc.
/// Thread: a tree is used by one thread at a time.
///
/// Warning: this is a global name. If a program that links the framework defines a Dictionary of its own
/// outside a namespace, the linker takes one of the two without a warning.
class Dictionary : public Item {
public:
    static constexpr int MAXIMUM_DEPTH = 512;

    /// An empty dictionary named "root".
    Dictionary();
    explicit Dictionary(std::string name);
    Dictionary(const Dictionary& other);
    /// Takes over the name and a copy of the content of the other. DELIBERATE: a dictionary assigned to
    /// itself is left empty, there is no guard.
    Dictionary& operator=(const Dictionary& other);

    // ---- Item

    bool equals(const Item& other) override;
    Item* clone() override;
    ~Dictionary() override;
    /// As findItem(), but returns the item's text. A dictionary that has the key, but not as a string leaf,
    /// returns null at once; its owner continues with its other children.
    const char* findValue(const std::string& key) const override;
    Dictionary* getAsDictionary() override;
    using Item::getValue;
    const char* getValue(const std::string& path) const override;
    using Item::getValueAs;
    bool getValueAs(const std::string& path, int& value) const override;
    /// DELIBERATE: looser than getItem. "a.b" is true if the key a exists and any child dictionary, not
    /// only a, contains b.
    bool contains(const std::string& path) override;
    Item* getItem(const std::string& path) const override;
    /// @param cpath  not null (a broken contract; returns null if that does not end the process)
    Item* getItem(const char* cpath) const override;
    /// The body: <dict>, for each child its <key> line and its value element, </dict>.
    std::string marshall(const std::string& indent) override;
    std::string toString(const std::string& indent) override;
    /// Reads a body, one element per line, into this dictionary; replaces the keys that it already has, keeps
    /// the others. Returns at once if the first line lacks <dict>. DELIBERATE: any later line that lacks
    /// <key> where a key is due closes the dictionary. The stream is left behind the last line that was read.
    void unMarshall(std::stringstream& in) override;

    // ---- Look-ups over the whole tree

    /// Whether there is exactly this key; it is not a path.
    virtual bool hasKey(const std::string& key) const;
    /// The texts of all string leaves that findItems() finds. Called through an Item, the result is an empty
    /// list: Item::findValues is another operation, and kept.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Woverloaded-virtual"
    virtual std::list<const char*> findValues(const std::string& key) const;
#pragma GCC diagnostic pop
    /// Searches depth first, in key order, for key as a path on every level. Returns the first hit, or null.
    virtual Item* findItem(const std::string& key);
    /// As findItem(), all hits; does not search below a dictionary that has one.
    virtual std::list<Item*> findItems(const std::string& key);
    virtual bool contains(Item& item);
    /// The path of an item equal to this one (equal, not the same), or an empty text. A dictionary that has a
    /// different item under that name ends the search below it.
    virtual std::string getItemPath(Item& item);
    /// The child with the smallest key, or null.
    Item* getFirstItem() const;

    // ---- Changing

    void clear();
    /// The same as clear().
    void removeAllItems();
    /// Removes and deletes the item at a path, if there is one.
    void removeItem(const std::string& path);
    /// Removes and deletes the child under the item's name if it equals the item.
    void removeItem(Item& item);
    /// removeItem(item), here and in all dictionaries below.
    void removeAllItems(Item& item);

    /// Stores a copy of the item at the path and replaces what is there; creates the dictionaries that the
    /// path lacks. The copy keeps the item's own name; its key is the end of the path. If there is a leaf in
    /// the middle of the path, or the path is too deep (an error is traced), the tree stays as it is.
    void setItem(const std::string& path, Item& item);
    /// Stores a leaf with its key as its name at the path; otherwise as setItem().
    void addValue(const std::string& path, int value);
    void addValue(const std::string& path, const std::string& value);
    /// Copies the children of source, one setItem() each, into the dictionary at the path. Does nothing if
    /// there is none.
    void addDictionary(const std::string& path, Dictionary& source);
    /// Copies from the other tree what this one lacks, dictionary by dictionary. DELIBERATE: in any conflict
    /// this tree wins, since merging defaults into settings must not lose a setting.
    void mergeDictionary(Dictionary& other);

    // ---- Files

    /// Writes the property list and replaces an existing file. DELIBERATE: does not report a failure.
    void saveToFile(const std::string& path);
    /// Reads a property list into this dictionary; replaces the keys that it already has, keeps the others.
    /// The text ends at the first NUL byte. A malformed body is no error: what came before is kept.
    /// @throw KFDictionaryFileException the file cannot be opened or read; this dictionary is unchanged
    /// @throw KFDictionaryParsingException no XML header, or not a property list of version 1.0; likewise
    void loadFromFile(const std::string& path) {
        loadFromFile(path, nullptr);
    }
    /// The same.
    /// @param observer  borrowed; notified of the lines. Not for a subclass, which is read from a stream
    void loadFromFile(const std::string& path, kf::detail::DictionaryReadingObserver* observer);

private:
    using Children = std::map<std::string, std::unique_ptr<Item>, std::less<>>;

    /// A copy for this level.
    Dictionary(const Dictionary& other, int level);

    /// A path, or the rest of one, as a view. A type of its own, so that literals select the public
    /// operations.
    struct Path {
        explicit Path(std::string_view path) : text(path), separator(path.find(SEPARATOR)) {}
        std::string_view head() const { return text.substr(0, separator); }
        bool isKey() const { return separator == std::string_view::npos; }
        /// What follows the first separator. Not for a single key.
        Path rest() const { return Path(text.substr(separator + 1)); }

        const std::string_view text;
        const std::size_t separator;
    };
    static constexpr char SEPARATOR = '.';

protected:
    // What the operations of the same name do, on views of a path or into one text, without copies. Not
    // private, so that a subclass can write `using Dictionary::getItem`.
    Item* getItem(Path path) const;
    void marshall(std::string& indent, kf::detail::TextBuffer& text) const;
    void unMarshall(kf::detail::PropertyListReader& reader);

private:
    /// The item as a Dictionary if it is one and not a subclass: only then may the operations above bypass
    /// the virtual ones.
    static const Dictionary* asPlain(const Item& item) {
        return typeid(item) == typeid(Dictionary) ? static_cast<const Dictionary*>(&item) : nullptr;
    }
    bool isPlain() const {
        return asPlain(*this) != nullptr;
    }

    /// item.marshall(), or the faster equivalent.
    static void askToMarshall(Item& item, std::string& indent, kf::detail::TextBuffer& text);

    /// The child under the key; null if there is none, or if a subclass's hasKey() denies it.
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

    /// Whether this is too deep to hold children. If so, traces an error.
    bool isTooDeep() const {
        return m_level > MAXIMUM_DEPTH && tellTooDeep();
    }
    bool tellTooDeep() const;
    void setLevel(int level);
    Children copyChildren(const Dictionary& other) const;
    void store(std::string_view key, std::unique_ptr<Item> item);
    static void insertOrReplace(Children& children, std::string_view key, std::unique_ptr<Item> item);

    int m_level = 1; // 1 if nobody owns this dictionary, else its owner's plus 1
    Children m_children;
};
