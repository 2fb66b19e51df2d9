#pragma once

#include <cstddef>
#include <string_view>

namespace kf::detail {

/// Is told what the reader of a property list makes of each line that it uses: for programs that check a file,
/// since the reader itself passes over what it does not understand. Reading is the same with and without one.
///
/// Positions are those of the lines' first bytes, counted from the start of the text. Lines and keys are
/// borrowed until the call returns.
///
/// Errors: nothing may be thrown.
/// Thread: the one that reads.
class DictionaryReadingObserver {
public:
    /// What a key's value is; Skipped: of a kind that is not read, so the key is dropped.
    enum class Kind { String, Integer, Dictionary, Skipped };

    virtual ~DictionaryReadingObserver() = default;

    /// A dictionary begins, the outermost too; not called where the third line of a file opens none.
    virtual void onBegin(std::size_t position) = 0;
    /// A key and the line that holds its value. Of a dictionary, onBegin() and the rest follow.
    virtual void onKey(std::size_t position, std::string_view key, std::size_t valuePosition, Kind kind) = 0;
    /// This line ends the innermost dictionary, because it has no key.
    virtual void onEnd(std::size_t position, std::string_view line) = 0;
    /// The dictionary of this line is too deep: its content is passed over. No onBegin().
    virtual void onTooDeep(std::size_t position) = 0;
};

} // namespace kf::detail
