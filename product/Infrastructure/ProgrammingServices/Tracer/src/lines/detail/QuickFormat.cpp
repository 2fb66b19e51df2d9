#include "detail/QuickFormat.h"

#include <cstdint>
#include <cstring>
#include <langinfo.h>
#include <limits>

namespace kf::detail {

namespace {

/// The part of the buffer that is still free. A text that does not fit marks it full, and nothing more is
/// written.
class Output {
public:
    Output(char* buffer, std::size_t size) : m_begin(buffer), m_next(buffer), m_end(buffer + size) {}

    void put(const char* text, std::size_t length) {
        m_full = m_full || length >= static_cast<std::size_t>(m_end - m_next);
        if (m_full)
            return;
        std::memcpy(m_next, text, length);
        m_next += length;
    }

    bool isFull() const { return m_full; }
    int finish() {
        *m_next = '\0';
        return static_cast<int>(m_next - m_begin);
    }

private:
    char* const m_begin;
    char* m_next;
    char* const m_end;
    bool m_full = false;
};

constexpr char DIGIT_PAIRS[] =
    "0001020304050607080910111213141516171819202122232425262728293031323334353637383940"
    "4142434445464748495051525354555657585960616263646566676869707172737475767778798081"
    "828384858687888990919293949596979899";

/// Writes the digits backwards from `end` and returns where they begin. (std::to_chars is missing from the
/// libraries of the oldest supported system.)
char* writeDigits(char* end, std::uint32_t value) {
    while (value >= 100) {
        end -= 2;
        std::memcpy(end, DIGIT_PAIRS + value % 100 * 2, 2);
        value /= 100;
    }
    if (value < 10) {
        *--end = static_cast<char>('0' + value);
        return end;
    }
    end -= 2;
    std::memcpy(end, DIGIT_PAIRS + value * 2, 2);
    return end;
}

void putInteger(Output& output, bool negative, std::uint32_t magnitude) {
    char text[12];
    char* const end = text + sizeof text;
    char* begin = writeDigits(end, magnitude);
    if (negative)
        *--begin = '-';
    output.put(begin, static_cast<std::size_t>(end - begin));
}

/// Appends the value as "%.3f" does; false if it is out of range. The value is mantissa * 2^-shift, both
/// integers, so the decimals are exact. Rounds to nearest and ties to even, as printf does.
bool putThousandths(Output& output, double value) {
    static_assert(std::numeric_limits<double>::is_iec559 && sizeof(double) == 8, "not an IEEE double");
    std::uint64_t bits = 0;
    std::memcpy(&bits, &value, sizeof bits);
    const bool negative = bits >> 63 != 0;
    const int exponent = static_cast<int>(bits >> 52 & 0x7FF);
    const std::uint64_t mantissa = (bits & 0xFFFFFFFFFFFFFu) | (exponent != 0 ? 1ull << 52 : 0);
    const int shift = 1075 - exponent;
    if (shift < 21) // 2^32 and more, infinity, not a number
        return false;

    std::uint64_t thousandths = 0; // rounded; 0 when the value is below 2^-11
    if (shift <= 63) {
        const std::uint64_t product = (mantissa & ((1ull << shift) - 1)) * 1000; // below 2^53 * 1000 < 2^63
        const std::uint64_t rest = product & ((1ull << shift) - 1);
        const std::uint64_t half = 1ull << (shift - 1);
        thousandths = (mantissa >> shift) * 1000 + (product >> shift);
        if (rest > half || (rest == half && thousandths % 2 != 0))
            ++thousandths;
    }
    char text[24];
    char* const end = text + sizeof text;
    // The added 1000 yields the leading zeros, and a digit that the point replaces.
    char* begin = writeDigits(end, static_cast<std::uint32_t>(thousandths % 1000 + 1000));
    *begin = '.';
    begin = writeDigits(begin, static_cast<std::uint32_t>(thousandths / 1000));
    if (negative)
        *--begin = '-';
    output.put(begin, static_cast<std::size_t>(end - begin));
    return true;
}

/// Whether vsnprintf would also write a point, in the program's current locale.
bool isDecimalPointAPoint() {
    const char* const point = nl_langinfo(RADIXCHAR);
    return point[0] == '.' && point[1] == '\0';
}

} // namespace

int QuickFormat::write(char* buffer, std::size_t size, const char* format, std::va_list arguments) const {
    Output output(buffer, size);
    for (const Piece* piece = m_pieces; !output.isFull(); ++piece) {
        output.put(format + piece->text, piece->length);
        switch (piece->kind) {
        case Kind::Unknown:
            return -1;
        case Kind::End:
            return output.isFull() ? -1 : output.finish();
        case Kind::PercentSign: // the literal text ends with it
            break;
        case Kind::Text: {
            const char* const text = va_arg(arguments, const char*);
            if (text == nullptr)
                return -1;
            output.put(text, std::strlen(text));
            break;
        }
        case Kind::Integer: {
            const int value = va_arg(arguments, int);
            const std::uint32_t bits = static_cast<std::uint32_t>(value);
            putInteger(output, value < 0, value < 0 ? 0u - bits : bits);
            break;
        }
        case Kind::UnsignedInteger:
            putInteger(output, false, va_arg(arguments, unsigned int));
            break;
        case Kind::Thousandths:
            if (!isDecimalPointAPoint() || !putThousandths(output, va_arg(arguments, double)))
                return -1;
            break;
        }
    }
    return -1;
}

} // namespace kf::detail
