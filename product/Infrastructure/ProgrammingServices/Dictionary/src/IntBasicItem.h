#pragma once

#include "Item.h"

#include <string_view>

/// A leaf that holds a signed 32-bit integer; 0 until it is set.
///
/// Errors, threads, and a warning about the global name: as Item.
class IntBasicItem : public Item {
public:
    IntBasicItem();
    explicit IntBasicItem(std::string name);
    IntBasicItem(std::string name, int value);
    IntBasicItem(const IntBasicItem& other);
    IntBasicItem& operator=(const IntBasicItem& other);

    bool equals(const Item& other) override;
    Item* clone() override;
    ~IntBasicItem() override;
    using Item::getValueAs;
    bool getValueAs(int& value) const override;
    Item* getItem(const std::string& path) const override;
    Item* getItem(const char* path) const override;
    /// One line: <int>, the value in decimal, </int>. DELIBERATE: the element is not called <integer>, as in
    /// property lists elsewhere, and the indent is not written; integer lines begin at the start of the line
    /// in every saved file.
    std::string marshall(const std::string& indent) override;
    /// The value is shown in hexadecimal, without a prefix; readers of traces rely on it.
    std::string toString(const std::string& indent) override;
    /// Converts as atoi() does; a number out of range becomes the nearest end of the range. If this throws,
    /// the value is unchanged.
    void unMarshall(std::stringstream& in) override;

    void setValue(int value);

protected:
    // What the operations of the same name do, without copies. Not private, so that a subclass can write
    // `using IntBasicItem::marshall`.
    void marshall(std::string_view indent, kf::detail::TextBuffer& text) const;
    void unMarshall(std::string_view line);

private:
    friend class Dictionary;

    int m_value = 0;
};
