#pragma once

#include <CoreFoundation/CoreFoundation.h>

#include <memory>
#include <type_traits>

namespace kf::detail {

struct CFReleaser {
    void operator()(CFTypeRef object) const { CFRelease(object); }
};

/// A CoreFoundation reference that its holder owns (from a Create or Copy call) and releases; may be null.
template <class Ref>
using CFOwned = std::unique_ptr<std::remove_pointer_t<Ref>, CFReleaser>;

} // namespace kf::detail
