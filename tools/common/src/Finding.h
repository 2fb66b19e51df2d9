#pragma once

#include <string>
#include <vector>

namespace Zevo {

/// A position in a file. Lines and columns count from 1, columns in bytes.
struct Place {
    std::string file; ///< as shown to people
    int line = 0;     ///< 0: the file as a whole
    int column = 0;
    int length = 1;   ///< number of bytes
    std::string text; ///< the line
};

/// One thing that is wrong with an installation.
struct Finding {
    std::string id; ///< names the kind of mistake, the same for ever: "trace-statement-misspelt"
    Place place;
    std::string wrong;    ///< what is wrong, and its consequence
    std::string expected; ///< what should be there; empty if `wrong` says it
    std::string meant;    ///< a likely correction; empty if there is none
};

using Findings = std::vector<Finding>;

} // namespace Zevo
