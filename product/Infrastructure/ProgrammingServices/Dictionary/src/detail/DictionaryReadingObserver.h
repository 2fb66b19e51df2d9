#pragma once

#include <cstddef>
#include <string_view>

namespace kf::detail {

/// Is notified of how the reader of a property list interprets each line that it uses. For programs that
/// check a file, since the reader itself skips what it does not understand. Reading is the same with and
/// without it.
///
/// A position is that of a line's first byte, counted from the start of the text. Lines and keys are borrowed
/// until the call returns.
///
/// Errors: nothing may be thrown.
/// Thread: the one that reads.
class DictionaryReadingObserver {
public:
    /// The kind of a key's value. Skipped: a kind that is not read, so the key is dropped.
    enum class Kind { String, Integer, Dictionary, Skipped };

    virtual ~DictionaryReadingObserver() = default;

    /// A dictionary begins, also the outermost one; not called if the third line of a file opens none.
    virtual void onBegin(std::size_t position) = 0;
    /// A key and the line with its value. For a dictionary, onBegin() and the rest follow.
    virtual void onKey(std::size_t position, std::string_view key, std::size_t valuePosition, Kind kind) = 0;
    /// This line ends the innermost dictionary, because it has no key.
    virtual void onEnd(std::size_t position, std::string_view line) = 0;
    /// The dictionary on this line is too deep: its content is skipped, without an onBegin().
    virtual void onTooDeep(std::size_t position) = 0;
};

} // namespace kf::detail
