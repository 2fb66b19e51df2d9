#pragma once

#include "Item.h"

class TextBuffer;

/// A leaf that holds a string.
class BasicItem : public Item {
public:
    BasicItem();
    explicit BasicItem(std::string name);
    BasicItem(std::string name, std::string_view value);
    BasicItem(const BasicItem& other);
    BasicItem& operator=(const BasicItem& other);

    bool equals(const Item& other) override;
    Item* clone() override;
    ~BasicItem() override;
    using Item::getValue;
    const char* getValue() const override;
    Item* getItem(const std::string& path) const override;
    Item* getItem(const char* path) const override;
    /// One line: indent, <string>, the value as it stands (nothing is escaped), </string>.
    std::string marshall(const std::string& indent) override;
    std::string toString(const std::string& indent) override;
    void unMarshall(std::stringstream& in) override;

    void setValue(const std::string& value);

    /// marshall without copies: appends to the text.
    void marshall(std::string_view indent, TextBuffer& text) const;

    static void* operator new(std::size_t size) { return ::operator new(size); }
    /// Not the size of the class alone: there may be a text behind the item.
    static void operator delete(void* memory) { ::operator delete(memory); }

private:
    friend class Dictionary;

    explicit BasicItem(Unnamed unnamed);
    /// A new item without a name, made of a line that holds the tag.
    static std::unique_ptr<BasicItem> read(std::string_view line, Tag tag);

    /// Bytes behind an item, in its block of memory.
    struct Room {
        std::size_t size;
    };
    static void* operator new(std::size_t size, Room room) { return ::operator new(size + room.size); }
    static void operator delete(void* memory, Room) { ::operator delete(memory); }

    /// Has a zero byte behind it, unless it is empty.
    std::string_view value() const {
        return {m_text != nullptr ? m_text.get() : reinterpret_cast<const char*>(this + 1), m_length};
    }
    void assign(std::string_view value);

    // Most of a tree are leaves that were read: each is one block of memory, with the value behind the item.
    std::unique_ptr<char[]> m_text; // null where the value stands there, or is empty
    std::size_t m_length = 0;
};
