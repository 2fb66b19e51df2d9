#pragma once

#include "Sink.h"

#include <functional>
#include <string>

namespace Zevo {

/// A page that shows a profile over time, on its own: the viewer and the profile stand in it, and it fetches nothing,
/// from the network or from other files; it says so to the browser, which sees to it.
///
/// The viewer is speedscope's release as npm has it: index.html and what that names, and two licences.
class Page {
public:
    /// Where the viewer lies beside this program: in an installation, and in the build folder.
    static std::string viewerBesideProgram();

    /// Reads the viewer. Throws std::runtime_error, with the file and the remedy, when it is not there, and when it is
    /// not built as this class knows it.
    explicit Page(const std::string& viewerFolder);

    /// Writes the page.
    /// @param writeProfile is called once, and writes the profile, in speedscope's file format; it is packed
    void write(const Sink& sink, const std::function<void(const Sink&)>& writeProfile) const;

private:
    std::string m_beforeProfile, m_behindProfile;
};

} // namespace Zevo
