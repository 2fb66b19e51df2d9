#include "QuickFormat.h"

#include <cstdint>
#include <cstring>
#include <limits>

namespace {

/// The part of the buffer that is still free. Whoever does not fit sets `full`, and nothing is written any
/// more.
class Output {
public:
    Output(char* buffer, std::size_t size) : m_begin(buffer), m_next(buffer), m_end(buffer + size) {}

    /// Where so many bytes go; null when they do not fit.
    char* take(std::size_t length) {
        if (length >= room()) {
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

    /// What stands in front of the next "%" or the format's end; returns where that is. The run is short, so
    /// byte by byte is faster than to look for its end first.
    const char* putUntilPercent(const char* format, const char* end) {
        constexpr int BLOCK = 4; // bytes between two looks at the end
        char* next = m_next;     // a local, which the bytes that are stored cannot be taken to change
        const std::size_t left = static_cast<std::size_t>(end - format);
        const char* const stop = left < room() ? end : format + room();
        for (int i = BLOCK; i == BLOCK && stop - format >= BLOCK; next += i, format += i) {
            for (i = 0; i < BLOCK && format[i] != '%'; ++i) // unrolled by the compiler
                next[i] = format[i];
        }
        while (format != stop && *format != '%')
            *next++ = *format++;
        m_next = next;
        m_full = m_full || next == m_end;
        return format;
    }

    bool isFull() const { return m_full; }
    int finish() {
        *m_next = '\0';
        return static_cast<int>(m_next - m_begin);
    }

private:
    std::size_t room() const { return m_full ? 0 : static_cast<std::size_t>(m_end - m_next); }

    char* const m_begin;
    char* m_next;
    char* const m_end;
    bool m_full = false;
};

/// A conversion as it stands behind its "%".
struct Conversion {
    bool left = false;
    bool zeros = false;
    int width = 0;
    int precision = -1;
    enum Length { Plain, Long, LongLong, Size } length = Plain;
    char type = '\0';
};

constexpr int MAXIMUM_WIDTH = 100;

int readNumber(const char*& at) {
    int number = 0;
    while (*at >= '0' && *at <= '9' && number <= MAXIMUM_WIDTH)
        number = 10 * number + (*at++ - '0');
    return number;
}

Conversion readConversion(const char*& at) {
    Conversion conversion;
    for (; *at == '-' || *at == '0'; ++at)
        (*at == '-' ? conversion.left : conversion.zeros) = true;
    conversion.width = readNumber(at);
    if (*at == '.') {
        ++at;
        conversion.precision = readNumber(at);
    }
    if (*at == 'z') {
        conversion.length = Conversion::Size;
        ++at;
    } else if (*at == 'l') {
        ++at;
        conversion.length = *at == 'l' ? Conversion::LongLong : Conversion::Long;
        if (*at == 'l')
            ++at;
    }
    conversion.type = *at;
    if (*at != '\0')
        ++at;
    return conversion;
}

constexpr char DIGIT_PAIRS[] =
    "0001020304050607080910111213141516171819202122232425262728293031323334353637383940"
    "4142434445464748495051525354555657585960616263646566676869707172737475767778798081"
    "82838485868788899091929394959697989900";

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

std::size_t decimalDigits(std::uint64_t value) {
    if (value > UINT32_MAX)
        return 9 + decimalDigits(value / 1000000000);
    static constexpr std::uint32_t POWERS_OF_TEN[] = {10,      100,      1000,      10000,     100000,
                                                      1000000, 10000000, 100000000, 1000000000};
    std::size_t digits = 1;
    for (const std::uint32_t power : POWERS_OF_TEN) {
        if (value < power)
            break;
        ++digits;
    }
    return digits;
}

char* writeHexadecimal(char* end, std::uint64_t value, const char* digits) {
    do {
        *--end = digits[value % 16];
        value /= 16;
    } while (value != 0);
    return end;
}

void putPlainInteger(Output& output, bool negative, std::uint32_t magnitude) {
    const std::size_t sign = negative ? 1 : 0;
    const std::size_t digits = decimalDigits(magnitude);
    if (char* const at = output.take(sign + digits)) {
        *at = '-';
        writePairs(at + sign + digits, magnitude);
    }
}

void putInteger(Output& output, const Conversion& conversion, bool negative, std::uint64_t magnitude) {
    char text[24];
    char* const end = text + sizeof text;
    const char* const digits = conversion.type == 'x'   ? writeHexadecimal(end, magnitude, "0123456789abcdef")
                               : conversion.type == 'X' ? writeHexadecimal(end, magnitude, "0123456789ABCDEF")
                                                        : writeDecimal(end, magnitude);
    const std::size_t count = static_cast<std::size_t>(end - digits);
    const std::size_t length = count + (negative ? 1 : 0);
    const std::size_t width = static_cast<std::size_t>(conversion.width);
    const std::size_t padding = length < width ? width - length : 0;
    const bool zeros = conversion.zeros && !conversion.left;
    if (padding != 0 && !conversion.left && !zeros)
        output.pad(' ', padding);
    if (negative)
        output.put('-');
    if (padding != 0 && zeros)
        output.pad('0', padding);
    output.put(digits, count);
    if (padding != 0 && conversion.left)
        output.pad(' ', padding);
}

void putSigned(Output& output, const Conversion& conversion, std::int64_t value) {
    const std::uint64_t bits = static_cast<std::uint64_t>(value);
    putInteger(output, conversion, value < 0, value < 0 ? 0 - bits : bits);
}

/// %.0f to %.3f. The value is fraction * 2^-shift with whole numbers, so the decimals are exact, and so is
/// the rounding: to nearest, and halves to even, as printf does.
bool putFixed(Output& output, int precision, double value) {
    static_assert(std::numeric_limits<double>::is_iec559 && sizeof(double) == 8, "not an IEEE double");
    static constexpr std::uint64_t SCALES[] = {1, 10, 100, 1000};
    const std::uint64_t scale = SCALES[precision];
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
        const std::uint64_t product = (mantissa & ((1ull << shift) - 1)) * scale; // below 2^53 * 1000 < 2^63
        const std::uint64_t rest = product & ((1ull << shift) - 1);
        const std::uint64_t half = 1ull << (shift - 1);
        scaled = (mantissa >> shift) * scale + (product >> shift);
        if (rest > half || (rest == half && scaled % 2 != 0))
            ++scaled;
    }
    const std::uint64_t whole = scaled / scale;
    const std::size_t sign = negative ? 1 : 0;
    const std::size_t digits = decimalDigits(whole);
    const std::size_t decimals = precision == 0 ? 0 : 1 + static_cast<std::size_t>(precision);
    if (char* const at = output.take(sign + digits + decimals)) {
        *at = '-';
        char* const point = at + sign + digits;
        if (precision > 0) {
            writeDecimal(point + decimals,
                         scaled % scale + scale); // the scale brings the leading zeros along
            *point = '.';
        }
        writeDecimal(point, whole);
    }
    return true;
}

} // namespace

int formatQuickly(char* buffer, std::size_t size, const char* format, std::va_list arguments) {
    Output output(buffer, size);
    const char* const end = format + std::strlen(format);
    for (;;) {
        format = output.putUntilPercent(format, end);
        if (format == end || output.isFull())
            break;
        ++format;
        // The two that most messages have, without the whole of a conversion.
        if (*format == 's') {
            const char* const text = va_arg(arguments, const char*);
            if (text == nullptr)
                return -1;
            output.put(text, std::strlen(text));
            ++format;
            continue;
        }
        if (*format == 'd') {
            const int value = va_arg(arguments, int);
            const std::uint32_t bits = static_cast<std::uint32_t>(value);
            putPlainInteger(output, value < 0, value < 0 ? 0u - bits : bits);
            ++format;
            continue;
        }
        const Conversion conversion = readConversion(format);
        const bool plain = conversion.length == Conversion::Plain && conversion.width == 0 &&
                           !conversion.left && !conversion.zeros;
        const bool integer = conversion.precision < 0 && conversion.width <= MAXIMUM_WIDTH;
        // Branches for types that are the same on this host, and not on another.
        // NOLINTBEGIN(bugprone-branch-clone)
        switch (conversion.type) {
        case 'd':
        case 'i':
            if (!integer)
                return -1;
            if (conversion.length == Conversion::Plain)
                putSigned(output, conversion, va_arg(arguments, int));
            else if (conversion.length == Conversion::Long)
                putSigned(output, conversion, va_arg(arguments, long));
            else if (conversion.length == Conversion::LongLong)
                putSigned(output, conversion, va_arg(arguments, long long));
            else
                putSigned(output, conversion, va_arg(arguments, std::ptrdiff_t));
            break;
        case 'u':
        case 'x':
        case 'X': {
            if (!integer)
                return -1;
            if (conversion.length == Conversion::Plain)
                putInteger(output, conversion, false, va_arg(arguments, unsigned int));
            else if (conversion.length == Conversion::Long)
                putInteger(output, conversion, false, va_arg(arguments, unsigned long));
            else if (conversion.length == Conversion::LongLong)
                putInteger(output, conversion, false, va_arg(arguments, unsigned long long));
            else
                putInteger(output, conversion, false, va_arg(arguments, std::size_t));
            break;
        }
        case 'c': {
            if (!plain || conversion.precision >= 0)
                return -1;
            const char character = static_cast<char>(va_arg(arguments, int));
            if (character == '\0') // where the text would end
                return -1;
            output.put(character);
            break;
        }
        case 'f':
            if (!plain || conversion.precision < 0 || conversion.precision > 3 ||
                !putFixed(output, conversion.precision, va_arg(arguments, double)))
                return -1;
            break;
        case '%':
            if (!plain || conversion.precision >= 0)
                return -1;
            output.put('%');
            break;
        default:
            return -1;
        }
        // NOLINTEND(bugprone-branch-clone)
        if (output.isFull())
            return -1;
    }
    return output.isFull() ? -1 : output.finish();
}
