#pragma once

#include "MessageType.h"

#include <cstddef>
#include <string_view>

namespace kf::detail {

/// One tag for each message type, in the order of their bits.
using MessageTags = std::string_view[9];

/// The tag of a message type; for an unknown type an empty text, but not a null view: callers copy it with
/// memcpy.
inline std::string_view tagOf(MessageType type, const MessageTags& tags) {
    for (std::size_t bit = 0; bit < 9; ++bit)
        if (type == 1u << bit)
            return tags[bit];
    return "";
}

} // namespace kf::detail
