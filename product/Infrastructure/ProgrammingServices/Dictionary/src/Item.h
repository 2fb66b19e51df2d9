#pragma once

#include <list>
#include <memory>
#include <sstream>
#include <string>
#include <string_view>

class Dictionary;

/// A named node of a property-list tree: a leaf that holds a string (BasicItem) or an integer (IntBasicItem),
/// or a Dictionary of further items.
///
/// A leaf answers only for the type that it holds; nothing is converted. An item belongs to at most one
/// dictionary, which deletes it. The order of the virtual operations is fixed: new ones go to the end.
///
/// Thread: a tree is used by one thread at a time.
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
    void setName(const std::string& name);

    /// The text without spaces, tabs and line feeds at both ends. A carriage return is not a blank here.
    static std::string trim(const std::string& text);

    /// The trimmed text between a tag and the first "</" of a line (the line's end where there is none, or
    /// where it stands before the tag). Nothing is decoded.
    /// @param tag the opening tag with its brackets, e.g. "<string>"
    /// @throw KFDictionaryParsingException "Can't find <key> in stream" when the line lacks the tag. The text
    ///        names <key> for every tag, deliberately.
    static std::string getXmlVal(const char* tag, const std::string& line);

protected:
    Item();
    explicit Item(std::string name);
    Item(const Item& other);
    Item& operator=(const Item& other);

    static const std::string& nameOf(const Item& item) {
        return *item.m_name;
    }
    const std::string& name() const {
        return *m_name;
    }
    /// This object's address as trace texts show it: hexadecimal, with 0x.
    std::string addressText() const;

    // getXmlVal without a copy: the result is a part of the line. A reader that looks for tags anyway keeps
    // the place of the one it found.
    struct Tag {
        bool isThere() const { return end != std::string_view::npos; }

        std::size_t end = std::string_view::npos; // where the text behind it begins
        std::size_t searched = 0;                 // no "</" begins in the line before this
    };
    static Tag findTag(std::string_view tag, std::string_view line) {
        const std::size_t tagAt = line.find(tag);
        return tagAt != std::string_view::npos ? Tag{tagAt + tag.size()} : Tag();
    }
    /// The same for a tag such as <key>, quicker where only tabs stand before it: so nearly all lines begin.
    static Tag findPlainTag(std::string_view tag, std::string_view line) {
        std::size_t tabs = 0;
        while (tabs < line.size() && line[tabs] == '\t')
            ++tabs;
        const std::size_t end = tabs + tag.size();
        return line.substr(tabs, tag.size()) == tag ? Tag{end, end} : findTag(tag, line);
    }
    /// False, and the value untouched, when there is no tag.
    static bool findXmlVal(std::string_view line, Tag tag, std::string_view& value);
    static std::string_view requireXmlVal(std::string_view line, Tag tag);

private:
    friend class BasicItem;
    friend class Dictionary;
    friend class IntBasicItem;

    /// What an item is made with that gets its name from the dictionary that takes it. Nobody may ask for the
    /// name before, so only the reader of property lists makes such items.
    struct Unnamed {};
    explicit Item(Unnamed);

    bool isUnnamed() const {
        return m_name == nullptr;
    }
    /// For the dictionary that owns the item under a key equal to its name: the item needs no copy of it. It
    /// has a name of its own again as soon as that changes.
    void lendName(const std::string& key) {
        m_name = &key;
        m_ownName.reset();
    }
    void rename(std::string name);

    const std::string* m_name = nullptr; // m_ownName, or a dictionary's key
    std::unique_ptr<const std::string> m_ownName;
};
