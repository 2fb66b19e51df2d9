#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

/// Splits the input of a fuzz program into values. After its end it yields zeros and empty texts.
class FuzzInput {
public:
    FuzzInput(const std::uint8_t* data, std::size_t size) : m_next(data), m_end(data + size) {}

    bool isEmpty() const { return m_next == m_end; }
    std::uint8_t byte() { return isEmpty() ? std::uint8_t{0} : *m_next++; }
    /// The text up to the next line feed, which is consumed, too.
    std::string line() {
        std::string text;
        while (!isEmpty()) {
            const char next = static_cast<char>(byte());
            if (next == '\n')
                break;
            text += next;
        }
        return text;
    }
    template <typename Number>
    Number number() {
        std::uint64_t value = 0;
        for (std::size_t bytes = 0; bytes < sizeof(Number); ++bytes)
            value = value << 8 | byte();
        return static_cast<Number>(value);
    }

private:
    const std::uint8_t* m_next;
    const std::uint8_t* m_end;
};
