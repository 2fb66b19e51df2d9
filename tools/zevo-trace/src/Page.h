#pragma once

#include "Sink.h"

#include <functional>
#include <string>

namespace Zevo {

/// A self-contained page that shows a profile over time. It contains the viewer and the profile, and loads
/// nothing from the network or from other files; a policy in the page makes the browser enforce this.
///
/// The viewer is speedscope's npm release: index.html, the files that it refers to, and two licences.
class Page {
public:
    /// Where the viewer is, relative to this program: in an installation, and in the build folder.
    static std::string viewerBesideProgram();

    /// Reads the viewer. Throws std::runtime_error, with the file and the remedy, if it is missing, or does
    /// not have the structure that this class expects.
    explicit Page(const std::string& viewerFolder);

    /// Writes the page.
    /// @param writeProfile called once; writes the profile in speedscope's file format, which is compressed
    /// here
    void write(const Sink& sink, const std::function<void(const Sink&)>& writeProfile) const;

private:
    std::string m_beforeProfile, m_behindProfile;
};

} // namespace Zevo
