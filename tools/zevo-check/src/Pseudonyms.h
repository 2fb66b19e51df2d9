#pragma once

#include <cstddef>
#include <map>
#include <string>
#include <vector>

namespace Zevo {

/// Replaces what identifies a person or a single device by pseudonyms, the same text always by the same one,
/// so that a reader still sees what belongs together: known names (user-1), numbers of 14 to 20 digits, such
/// as IMEI, IMSI and ICCID (number-1), hardware addresses of the form 01:23:45:67:89:ab (address-1), and the
/// value behind "serial" and "=" or ":" (serial-1).
class Pseudonyms {
public:
    /// Adds a name to replace wherever it is a word of its own. A name of fewer than three characters is not
    /// replaced, because half of all texts would contain it.
    /// @param kind  the prefix of its pseudonym
    void addName(const std::string& name, const std::string& kind);

    std::string replaceIn(const std::string& text);
    /// The number of replacements so far.
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
    std::map<std::string, std::string> m_pseudonyms; // by the text that they replace
    std::map<std::string, int> m_last;               // the last number of each kind
    std::size_t m_count = 0;
};

} // namespace Zevo
