#pragma once

#include "MessageType.h"

#include <cstdarg>
#include <cstddef>
#include <cstdint>

namespace kf::detail {

/// Formats what log and trace lines mostly hold (texts, integers, seconds with a few decimals) as vsnprintf
/// does, byte for byte, in a fraction of its time. The constructor parses the format; LOG_MESSAGE has it do so at
/// compile time.
///
/// It knows %%, %c, %s, %d, %i, %u, %x and %X, with the lengths l, ll and z, a width and the flags
/// "-" and "0" on integers, and %.0f to %.3f of ordinary size where the locale's decimal point is a point.
/// Everything else is left to the caller's vsnprintf, a message as a whole: so all of its numbers have the
/// decimal point of the program's locale.
///
/// Thread: any.
class QuickFormat {
public:
    enum class Kind : std::uint8_t {
        Unknown,
        End,
        PercentSign,
        Text,
        PlainInt, // without width and flags
        Int,      // the signed and the unsigned ones in the order of Length
        Long,
        LongLong,
        PointerDifference,
        UnsignedInt,
        UnsignedLong,
        UnsignedLongLong,
        UnsignedSize,
        Character,
        Decimals
    };

    /// Some text of the format as it stands, and the conversion behind it.
    struct Piece {
        std::uint16_t text = 0; // where it begins in the format
        std::uint16_t length = 0;
        Kind kind = Kind::Unknown;
        char type = '\0';
        bool left = false;
        bool zeros = false;
        std::uint8_t width = 0;
        std::uint8_t precision = 0;
    };

    /// The format itself is not kept: write() gets it again.
    constexpr explicit QuickFormat(const char* format) {
        const char* at = format;
        for (Piece& piece : m_pieces) {
            const char* const text = at;
            while (*at != '%' && *at != '\0')
                ++at;
            const bool isPercentSign = at[0] == '%' && at[1] == '%';
            const std::ptrdiff_t length = at - text + (isPercentSign ? 1 : 0);
            if (text - format > UINT16_MAX || length > UINT16_MAX)
                break;
            piece.text = static_cast<std::uint16_t>(text - format);
            piece.length = static_cast<std::uint16_t>(length);
            if (*at == '\0') {
                piece.kind = Kind::End;
                return;
            }
            ++at;
            if (isPercentSign) {
                piece.kind = Kind::PercentSign;
                ++at;
            } else if (!readConversion(at, piece)) {
                break;
            }
        }
        m_pieces[0].kind = Kind::Unknown;
    }

    /// @param buffer  receives the text and a terminating zero; undefined after a refusal
    /// @param size    of the buffer, in bytes
    /// @param format  the one that this was made of
    /// @param arguments  are used up, also by a refusal. Who needs them twice begins two lists: the first
    ///                   look at a va_copy waits until the processor has written all of it, a tenth of a log
    ///                   line's time.
    /// @return the text's length, or -1 when the format, an argument or the buffer's size is not for it
    int write(char* buffer, std::size_t size, const char* format, std::va_list arguments) const
        KF_PRINTF_LIKE(4, 0);

private:
    static constexpr int MAXIMUM_WIDTH = 100;
    static constexpr std::size_t MAXIMUM_PIECES = 12;

    static constexpr int readNumber(const char*& at) {
        int number = 0;
        while (*at >= '0' && *at <= '9' && number <= MAXIMUM_WIDTH)
            number = 10 * number + (*at++ - '0');
        return number;
    }

    enum class Length { None, L, LL, Z };

    static constexpr Length readLength(const char*& at) {
        if (*at == 'z') {
            ++at;
            return Length::Z;
        }
        if (*at != 'l')
            return Length::None;
        ++at;
        if (*at != 'l')
            return Length::L;
        ++at;
        return Length::LL;
    }

    static constexpr Kind withLength(Kind kind, Length length) {
        return static_cast<Kind>(static_cast<int>(kind) + static_cast<int>(length));
    }

    /// Reads what stands behind a "%". False when it is left to vsnprintf.
    static constexpr bool readConversion(const char*& at, Piece& piece) {
        for (; *at == '-' || *at == '0'; ++at)
            (*at == '-' ? piece.left : piece.zeros) = true;
        const int width = readNumber(at);
        int precision = -1;
        if (*at == '.') {
            ++at;
            precision = readNumber(at);
        }
        const Length argument = readLength(at);
        piece.type = *at;
        if (*at == '\0' || width > MAXIMUM_WIDTH)
            return false;
        ++at;
        piece.width = static_cast<std::uint8_t>(width);
        const bool plain = argument == Length::None && width == 0 && !piece.left && !piece.zeros;
        switch (piece.type) {
        case 'd':
        case 'i':
            piece.kind = plain ? Kind::PlainInt : withLength(Kind::Int, argument);
            return precision < 0;
        case 'u':
        case 'x':
        case 'X':
            piece.kind = withLength(Kind::UnsignedInt, argument);
            return precision < 0;
        case 's':
            piece.kind = Kind::Text;
            return plain && precision < 0;
        case 'c':
            piece.kind = Kind::Character;
            return plain && precision < 0;
        case 'f':
            piece.kind = Kind::Decimals;
            piece.precision = static_cast<std::uint8_t>(precision);
            return plain && precision >= 0 && precision <= 3;
        default:
            return false;
        }
    }

    Piece m_pieces[MAXIMUM_PIECES];
};

} // namespace kf::detail
