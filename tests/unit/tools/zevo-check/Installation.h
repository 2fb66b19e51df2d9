#pragma once

#include "Check.h"
#include "TemporaryFolder.h"

#include <string>

/// A launcher's folder and a machine around it, for one test: a copy of correct/, without the files that the
/// file `without` of a folder of mistakes/ names, and overlaid with that folder. While it exists, the
/// environment points there.
class Installation {
public:
    explicit Installation(const std::string& mistake = {});
    ~Installation();
    Installation(const Installation&) = delete;
    Installation& operator=(const Installation&) = delete;

    /// With a separator at the end.
    std::string folder() const { return m_path + "/"; }
    std::string operator/(const std::string& name) const { return m_path + "/" + name; }
    Zevo::CheckResult check() const;
    Zevo::CheckOptions options() const;
    /// The report, without the folder's name.
    std::string report() const;

private:
    TemporaryFolder m_folder;
    std::string m_path; // free of links
};

/// The names of all folders of mistakes/, in order.
std::vector<std::string> allMistakes();
