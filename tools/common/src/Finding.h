#pragma once

#include <string>
#include <vector>

namespace Zevo {

/// Where something stands. Lines and columns count from 1, columns in bytes.
struct Place {
    std::string file; ///< as it is shown to people
    int line = 0;     ///< 0: the file as a whole
    int column = 0;
    int length = 1;   ///< how many bytes are meant
    std::string text; ///< the line
};

/// One thing that is wrong with an installation.
struct Finding {
    std::string id; ///< names the kind of mistake, the same for ever: "trace-statement-misspelt"
    Place place;
    std::string wrong;    ///< what is wrong, and what comes of it
    std::string expected; ///< what should stand there; empty where the first says it
    std::string meant;    ///< a likely correction; empty where there is none
};

using Findings = std::vector<Finding>;

} // namespace Zevo
