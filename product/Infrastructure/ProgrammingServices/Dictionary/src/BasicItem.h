#pragma once

#include "Item.h"

/// A leaf that holds a string.
class BasicItem : public Item {
public:
    BasicItem();
    explicit BasicItem(const std::string& name);
    BasicItem(const std::string& name, const std::string& value);
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

private:
    std::string m_value;
};
