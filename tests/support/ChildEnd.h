#pragma once

/// Ends a child process at once: nothing that belongs to its parent is flushed or destroyed. In a build for
/// `./zevo coverage` its counters are saved.
[[noreturn]] void endChild(int status);
