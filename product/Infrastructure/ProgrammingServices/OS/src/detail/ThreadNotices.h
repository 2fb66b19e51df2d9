#pragma once

namespace kf::detail {

// What a named thread announces when it begins and ends. Declared on the lowest floor, with KFThread; defined
// by the tracer, the floor above, so that no include runs upwards.

/// Called on the new thread before its body, with the thread's name (not null, borrowed for the call).
/// Does nothing unless a tracer exists and is enabled.
void announceThreadBegin(const char* name);

/// Called on the thread after its body. Does nothing unless a tracer exists and is enabled.
void announceThreadEnd();

} // namespace kf::detail
