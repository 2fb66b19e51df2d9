#pragma once

#include "Item.h"

class TextBuffer;

/// A leaf that holds a string.
class BasicItem : public Item {
public:
    BasicItem();
    explicit BasicItem(std::string name);
    explicit BasicItem(LentName name);
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

    // marshall and unMarshall without copies: the first appends to the text, the second takes the line
    // itself, and its tag in it.
    void marshall(std::string_view indent, TextBuffer& text) const;
    void unMarshall(std::string_view line, Tag tag);

private:
    std::string_view value() const { return {m_text.get(), m_length}; }
    void assign(std::string_view value);

    // Half as large as a std::string: most of a tree are leaves.
    std::unique_ptr<char[]> m_text; // ends with a zero byte; null while the value is empty
    std::size_t m_length = 0;
};
