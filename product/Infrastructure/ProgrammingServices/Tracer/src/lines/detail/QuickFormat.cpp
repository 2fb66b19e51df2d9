#include "detail/QuickFormat.h"

#include <cstdint>
#include <cstring>
#include <langinfo.h>
#include <limits>

namespace kf::detail {

namespace {

/// The part of the buffer that is still free. Whoever does not fit sets `full`, and nothing is written any
/// more.
class Output {
public:
    Output(char* buffer, std::size_t size) : m_begin(buffer), m_next(buffer), m_end(buffer + size) {}

    /// Where so many bytes go; null when they do not fit.
    char* take(std::size_t length) {
        if (m_full || length >= static_cast<std::size_t>(m_end - m_next)) {
            m_full = true;
            return nullptr;
        }
        char* const at = m_next;
        m_next += length;
        return at;
    }
    void put(char character) {
        if (char* const at = take(1))
            *at = character;
    }
    void put(const char* text, std::size_t length) {
        if (char* const at = take(length))
            std::memcpy(at, text, length);
    }
    void pad(char with, std::size_t count) {
        if (char* const at = take(count))
            std::memset(at, with, count);
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

/// These write the digits in front of `end`, the last one first, and return where they begin. (std::to_chars
/// is not in the libraries of the oldest system that this runs on.)
template <typename Number>
char* writePairs(char* end, Number value) {
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

char* writeDecimal(char* end, std::uint64_t value) {
    // Most numbers are small, and dividing those takes a third of the time.
    return value <= UINT32_MAX ? writePairs(end, static_cast<std::uint32_t>(value)) : writePairs(end, value);
}

char* writeHexadecimal(char* end, std::uint64_t value, const char* digits) {
    do {
        *--end = digits[value % 16];
        value /= 16;
    } while (value != 0);
    return end;
}

// %d: every second conversion is one, and goes without the questions that the others have to ask.
void putPlainInteger(Output& output, bool negative, std::uint32_t magnitude) {
    char text[12];
    char* const end = text + sizeof text;
    char* begin = writePairs(end, magnitude);
    if (negative)
        *--begin = '-';
    output.put(begin, static_cast<std::size_t>(end - begin));
}

void putInteger(Output& output, const QuickFormat::Piece& piece, bool negative, std::uint64_t magnitude) {
    char text[24];
    char* const end = text + sizeof text;
    const char* const digits = piece.type == 'x'   ? writeHexadecimal(end, magnitude, "0123456789abcdef")
                               : piece.type == 'X' ? writeHexadecimal(end, magnitude, "0123456789ABCDEF")
                                                   : writeDecimal(end, magnitude);
    const std::size_t count = static_cast<std::size_t>(end - digits);
    const std::size_t length = count + (negative ? 1 : 0);
    const std::size_t width = static_cast<std::size_t>(piece.width);
    const std::size_t padding = length < width ? width - length : 0;
    const bool zeros = piece.zeros && !piece.left;
    if (padding != 0 && !piece.left && !zeros)
        output.pad(' ', padding);
    if (negative)
        output.put('-');
    if (padding != 0 && zeros)
        output.pad('0', padding);
    output.put(digits, count);
    if (padding != 0 && piece.left)
        output.pad(' ', padding);
}

/// %.0f to %.3f. The value is fraction * 2^-shift with whole numbers, so the decimals are exact, and so is
/// the rounding: to nearest, and halves to even, as printf does. A constant SCALE saves three divisions.
template <std::uint64_t SCALE, std::size_t DECIMALS>
bool putFixed(Output& output, double value) {
    static_assert(std::numeric_limits<double>::is_iec559 && sizeof(double) == 8, "not an IEEE double");
    std::uint64_t bits = 0;
    std::memcpy(&bits, &value, sizeof bits);
    const bool negative = bits >> 63 != 0;
    const int exponent = static_cast<int>(bits >> 52 & 0x7FF);
    const std::uint64_t mantissa = (bits & 0xFFFFFFFFFFFFFu) | (exponent != 0 ? 1ull << 52 : 0);
    const int shift = 1075 - exponent;
    if (shift < 1) // 2^52 and more, infinity, not a number
        return false;

    std::uint64_t scaled = 0; // the value times the scale, rounded; 0 when the value is below 2^-11
    if (shift <= 63) {
        const std::uint64_t product = (mantissa & ((1ull << shift) - 1)) * SCALE; // below 2^53 * 1000 < 2^63
        const std::uint64_t rest = product & ((1ull << shift) - 1);
        const std::uint64_t half = 1ull << (shift - 1);
        scaled = (mantissa >> shift) * SCALE + (product >> shift);
        if (rest > half || (rest == half && scaled % 2 != 0))
            ++scaled;
    }
    char text[24];
    char* const end = text + sizeof text;
    char* begin = end;
    if (DECIMALS > 0) {
        // The scale brings the leading zeros along, and a digit in the point's place.
        begin = writePairs(begin, static_cast<std::uint32_t>(scaled % SCALE + SCALE));
        *begin = '.';
    }
    begin = writeDecimal(begin, scaled / SCALE);
    if (negative)
        *--begin = '-';
    output.put(begin, static_cast<std::size_t>(end - begin));
    return true;
}

/// Whether vsnprintf would write a point as well, in the locale that the program has chosen.
bool isDecimalPointAPoint() {
    const char* const point = nl_langinfo(RADIXCHAR);
    return point[0] == '.' && point[1] == '\0';
}

bool putFixed(Output& output, unsigned precision, double value) {
    switch (precision) {
    case 0:
        return putFixed<1, 0>(output, value);
    case 1:
        return putFixed<10, 1>(output, value);
    case 2:
        return putFixed<100, 2>(output, value);
    default:
        return putFixed<1000, 3>(output, value);
    }
}

void putSigned(Output& output, const QuickFormat::Piece& piece, std::int64_t value) {
    const std::uint64_t bits = static_cast<std::uint64_t>(value);
    putInteger(output, piece, value < 0, value < 0 ? 0 - bits : bits);
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
        case Kind::PercentSign: // stands at the text's end
            break;
        case Kind::Text: {
            const char* const text = va_arg(arguments, const char*);
            if (text == nullptr)
                return -1;
            output.put(text, std::strlen(text));
            break;
        }
        case Kind::PlainInt: {
            const int value = va_arg(arguments, int);
            const std::uint32_t bits = static_cast<std::uint32_t>(value);
            putPlainInteger(output, value < 0, value < 0 ? 0u - bits : bits);
            break;
        }
        case Kind::Int:
            putSigned(output, *piece, va_arg(arguments, int));
            break;
        case Kind::Long:
            putSigned(output, *piece, va_arg(arguments, long));
            break;
        case Kind::LongLong:
            putSigned(output, *piece, va_arg(arguments, long long));
            break;
        case Kind::PointerDifference:
            putSigned(output, *piece, va_arg(arguments, std::ptrdiff_t));
            break;
        case Kind::UnsignedInt:
            putInteger(output, *piece, false, va_arg(arguments, unsigned int));
            break;
        case Kind::UnsignedLong:
            putInteger(output, *piece, false, va_arg(arguments, unsigned long));
            break;
        case Kind::UnsignedLongLong:
            putInteger(output, *piece, false, va_arg(arguments, unsigned long long));
            break;
        case Kind::UnsignedSize:
            putInteger(output, *piece, false, va_arg(arguments, std::size_t));
            break;
        case Kind::Character: {
            const char character = static_cast<char>(va_arg(arguments, int));
            if (character == '\0') // where the text would end
                return -1;
            output.put(character);
            break;
        }
        case Kind::Decimals:
            if (!isDecimalPointAPoint() || !putFixed(output, piece->precision, va_arg(arguments, double)))
                return -1;
            break;
        }
    }
    return -1;
}

} // namespace kf::detail
