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
/// A leaf answers only for the type that it holds; nothing is converted. An item belongs to at most one
/// dictionary, which deletes it. The order of the virtual operations is fixed: new ones go to the end.
///
/// Errors: only what says so throws, apart from std::bad_alloc.
/// Thread: a tree is used by one thread at a time.
///
/// Warning: this is a global name. A program that links the framework and defines an Item of its own outside
/// a namespace gets one of the two without a word from the linker.
class Item {
public:
    /// Same class of value, same name, same value. Two dictionaries are compared without their own names.
    virtual bool equals(const Item& other) = 0;
    /// A deep copy of the same class; the caller owns it.
    virtual Item* clone() = 0;
    virtual ~Item();

    // What only a dictionary answers. A leaf says null, false or an empty list.
    virtual const char* findValue(const std::string& key) const;
// Dictionary hides this operation behind one of its own, of the same name but const, on purpose: asked
// through an Item even a dictionary answers with an empty list.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Woverloaded-virtual"
    virtual std::list<const char*> findValues(const std::string& key);
#pragma GCC diagnostic pop
    /// The test for the kind of an item: a dictionary yields itself, a leaf null.
    virtual Dictionary* getAsDictionary();

    /// The text of a string leaf, valid until it changes; null for every other item.
    virtual const char* getValue() const;
    virtual const char* getValue(const std::string& key) const;
    /// Stores the number of an integer leaf and says true. For every other item false, and the argument stays
    /// as it was.
    virtual bool getValueAs(int& value) const;
    virtual bool getValueAs(const std::string& key, int& value) const;
    virtual bool contains(const std::string& path);
    /// Borrowed: the dictionary keeps the item.
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
    /// The key under which a dictionary holds the item stays.
    void setName(const std::string& name);

    /// The text without spaces, tabs and line feeds at both ends. A carriage return is not a blank here.
    static std::string trim(const std::string& text);

    /// The trimmed text between a tag and the first "</" of a line (the line's end where there is none, or
    /// where it stands before the tag). Nothing is decoded.
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
