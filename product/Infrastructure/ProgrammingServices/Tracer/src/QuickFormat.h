#pragma once

#include "MessageType.h"

#include <cstdarg>
#include <cstddef>

/// Formats what log and trace lines mostly hold (texts, integers, seconds with a few decimals) as vsnprintf
/// does, byte for byte, in a fraction of its time.
///
/// It knows %%, %c, %s, %d, %i, %u, %x and %X, with the lengths l, ll and z, a width and the flags
/// "-" and "0" on integers, and %.0f to %.3f of ordinary size. Everything else it leaves to vsnprintf.
///
/// @param buffer  receives the text and a terminating zero; undefined after a refusal
/// @param size    of the buffer, in bytes
/// @return the text's length, or -1 when the format, an argument or the buffer's size is not for it: the
/// caller
///         then calls vsnprintf with the arguments from the start
/// Thread: any.
int formatQuickly(char* buffer, std::size_t size, const char* format, std::va_list arguments)
    KF_PRINTF_LIKE(3, 0);
