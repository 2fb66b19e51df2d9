#pragma once

#include <list>
#include <memory>
#include <sstream>
#include <string>
#include <string_view>

class Dictionary;
namespace kf::detail {
class TextBuffer;
}

/// A named node of a property-list tree: a leaf that holds a string (BasicItem) or an integer (IntBasicItem),
/// or a Dictionary of further items.
///
/// A leaf has a value only of its own type; nothing is converted. An item belongs to at most one dictionary,
/// which deletes it. The order of the virtual operations is fixed: new ones are added at the end.
///
/// Errors: only operations that say so throw, apart from std::bad_alloc.
/// Thread: a tree is used by one thread at a time.
///
/// Warning: this is a global name. If a program that links the framework defines an Item of its own outside a
/// namespace, the linker takes one of the two without a warning.
class Item {
public:
    /// Same type of value, same name, same value. Two dictionaries are compared without their own names.
    virtual bool equals(const Item& other) = 0;
    /// A deep copy of the same class; the caller owns it.
    virtual Item* clone() = 0;
    virtual ~Item();

    // For dictionaries; a leaf returns null, false or an empty list.
    virtual const char* findValue(const std::string& key) const;
// Dictionary hides this operation on purpose behind one of the same name that is const: called through an
// Item, even a dictionary returns an empty list.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Woverloaded-virtual"
    virtual std::list<const char*> findValues(const std::string& key);
#pragma GCC diagnostic pop
    /// Tells the kind of an item: a dictionary returns itself, a leaf null.
    virtual Dictionary* getAsDictionary();

    /// The text of a string leaf, valid until it changes; null for every other item.
    virtual const char* getValue() const;
    virtual const char* getValue(const std::string& key) const;
    /// Stores the number of an integer leaf and returns true. For every other item returns false, and the
    /// argument stays as it was.
    virtual bool getValueAs(int& value) const;
    virtual bool getValueAs(const std::string& key, int& value) const;
    virtual bool contains(const std::string& path);
    /// Borrowed: the dictionary owns the item.
    virtual Item* getItem(const std::string& path) const = 0;
    virtual Item* getItem(const char* path) const = 0;

    /// The item's value element in the text form of a property list, with its line feeds.
    /// @param indent the tabs in front of each line; an integer leaf ignores them
    virtual std::string marshall(const std::string& indent) = 0;
    /// The item as a line of trace text, for people.
    virtual std::string toString(const std::string& indent) = 0;
    /// Reads the value element that marshall writes. A leaf reads exactly one line.
    /// @throw KFDictionaryParsingException a leaf's line does not hold the leaf's tag
    virtual void unMarshall(std::stringstream& in) = 0;

    const std::string& getName() const;
    /// Does not change the key under which a dictionary holds the item.
    void setName(const std::string& name);

    /// The text without spaces, tabs and line feeds at both ends. A carriage return does not count as a
    /// blank.
    static std::string trim(const std::string& text);

    /// The trimmed text between a tag and the line's first "</". It reaches to the end of the line if there
    /// is no "</", or if it is before the tag. Nothing is decoded.
    /// @param tag the opening tag with its brackets, e.g. "<string>"
    /// @throw KFDictionaryParsingException "Can't find <key> in stream" when the line lacks the tag. DELIBERATE:
    ///        the text names <key> for every tag.
    static std::string getXmlVal(const char* tag, const std::string& line);

protected:
    Item();
    explicit Item(std::string name);
    Item(const Item& other);
    Item& operator=(const Item& other);

    /// getName() without a call marker, for operations that have one.
    static const std::string& nameOf(const Item& item) {
        return item.m_name;
    }

private:
    std::string m_name;
};
