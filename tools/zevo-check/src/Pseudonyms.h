#pragma once

#include <cstddef>
#include <map>
#include <string>
#include <vector>

namespace Zevo {

/// Replaces what names a person or a single device by pseudonyms, the same text always by the same one, so that a reader
/// still sees what belongs together: known names (user-1), numbers of 14 to 20 digits as IMEI, IMSI and ICCID are
/// (number-1), network addresses of the form 01:23:45:67:89:ab (address-1), and what stands behind "serial" and "=" or ":"
/// (serial-1).
class Pseudonyms {
public:
    /// A name to replace wherever it stands as a word of its own. Shorter than three characters: not replaced, because half
    /// of all texts would hold it.
    /// @param kind what its pseudonym begins with
    void addName(const std::string& name, const std::string& kind);

    std::string replaceIn(const std::string& text);
    /// How many places have been replaced so far.
    std::size_t count() const { return m_count; }

private:
    struct Name {
        std::string text;
        std::string kind;
    };

    const std::string& pseudonymOf(const std::string& text, const std::string& kind);
    std::string withoutNames(const std::string& text);
    std::string withoutNumbers(const std::string& text);
    std::string withoutSerials(const std::string& text);

    std::vector<Name> m_names;
    std::map<std::string, std::string> m_pseudonyms; // by what they stand for
    std::map<std::string, int> m_last;               // number of each kind
    std::size_t m_count = 0;
};

} // namespace Zevo
