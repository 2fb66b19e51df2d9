#pragma once

#include "Item.h"
#include "detail/LeafText.h"

/// A leaf that holds a string of any bytes. As a C string it ends at its first NUL byte.
///
/// Errors, threads, and a warning about the global name: as Item.
class BasicItem : public Item {
public:
    /// Arguments are copied. A missing name or value is the empty text.
    BasicItem();
    explicit BasicItem(std::string name);
    BasicItem(std::string name, std::string_view value);
    BasicItem(const BasicItem& other);
    BasicItem& operator=(const BasicItem& other);

    bool equals(const Item& other) override;
    Item* clone() override;
    ~BasicItem() override;
    using Item::getValue;
    /// Never null. Borrowed: valid until the value changes or the item is destroyed.
    const char* getValue() const override;
    Item* getItem(const std::string& path) const override;
    Item* getItem(const char* path) const override;
    /// One line: indent, <string>, the value (nothing is escaped), </string>.
    std::string marshall(const std::string& indent) override;
    std::string toString(const std::string& indent) override;
    /// If this throws, the value is unchanged.
    void unMarshall(std::stringstream& in) override;

    /// Stores a copy; the text may be a part of the value. Invalidates what getValue() returned before.
    void setValue(const std::string& value);

    // A text may be stored behind an item, in the same block (see LeafText.h), so the block must not be freed
    // as one of sizeof(BasicItem) bytes.
    static void* operator new(std::size_t size) { return ::operator new(size); }
    static void operator delete(void* memory) { ::operator delete(memory); }

protected:
    /// marshall() without copies: appends to the text. Not private, so that a subclass can write `using
    /// BasicItem::marshall`.
    void marshall(std::string_view indent, kf::detail::TextBuffer& text) const;

private:
    friend class Dictionary;

    struct Room {
        std::size_t size;
    };
    static void* operator new(std::size_t size, Room behind) { return ::operator new(size + behind.size); }
    static void operator delete(void* memory, Room) { ::operator delete(memory); }
    /// A new item, read from one line as unMarshall() does.
    static std::unique_ptr<BasicItem> read(const std::string& name, std::string_view line);

    kf::detail::LeafText m_value; // the last member
};
