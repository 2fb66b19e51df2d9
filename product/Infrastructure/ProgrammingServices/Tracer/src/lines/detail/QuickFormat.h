#pragma once

#include "MessageType.h"

#include <cstdarg>
#include <cstddef>
#include <cstdint>

namespace kf::detail {

/// Formats the usual arguments of log lines (texts, integers, seconds with three decimals) byte for byte as
/// vsnprintf does, in a fraction of its time: the log-line rows need it. LOG_MESSAGE makes the constructor
/// parse the format at compile time.
///
/// Knows %%, %s, %d, %u, and %.3f for values below 2^32 where the locale's decimal point is a point. Any
/// other format or argument makes the caller format the whole message with vsnprintf, so that all of its
/// numbers have the locale's decimal point.
///
/// Thread: any.
class QuickFormat {
public:
    /// The format itself is not kept: pass it again to write().
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
            piece.kind = readConversion(at);
            if (piece.kind == Kind::Unknown)
                break;
        }
        m_pieces[0].kind = Kind::Unknown;
    }

    /// @param buffer     receives the text and a terminating NUL; undefined when -1 is returned
    /// @param size       of the buffer, in bytes
    /// @param format     the one that was given to the constructor
    /// @param arguments  consumed, also when -1 is returned. A caller that needs them twice calls va_start
    ///                   twice: reading a va_copy at once stalls until it is written, which takes a tenth of
    ///                   a log line's time
    /// @return the text's length, or -1 when the format, an argument or the buffer's size is not supported
    int write(char* buffer, std::size_t size, const char* format, std::va_list arguments) const
        KF_PRINTF_LIKE(4, 0);

private:
    enum class Kind : std::uint8_t { Unknown, End, PercentSign, Text, Integer, UnsignedInteger, Thousandths };

    /// A literal part of the format, and the conversion behind it.
    struct Piece {
        std::uint16_t text = 0; // where the literal part begins in the format
        std::uint16_t length = 0;
        Kind kind = Kind::Unknown;
    };

    /// Reads the conversion behind a "%" and moves `at` behind it.
    static constexpr Kind readConversion(const char*& at) {
        switch (*at++) {
        case '%':
            return Kind::PercentSign;
        case 's':
            return Kind::Text;
        case 'd':
            return Kind::Integer;
        case 'u':
            return Kind::UnsignedInteger;
        case '.':
            if (at[0] != '3' || at[1] != 'f')
                return Kind::Unknown;
            at += 2;
            return Kind::Thousandths;
        default:
            return Kind::Unknown;
        }
    }

    static constexpr std::size_t MAXIMUM_PIECES = 12;

    Piece m_pieces[MAXIMUM_PIECES];
};

} // namespace kf::detail
