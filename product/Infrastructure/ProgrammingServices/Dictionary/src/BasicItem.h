#pragma once

#include "Item.h"

/// A leaf that holds a string.
class BasicItem : public Item {
public:
    BasicItem();
    explicit BasicItem(std::string name);
    BasicItem(std::string name, std::string value);
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
    // itself.
    void marshall(std::string_view indent, std::string& text) const;
    void unMarshall(std::string_view line);

private:
    std::string m_value;
};
