#pragma once

#include <stdint.h>

extern "C" {

/// The path of the running program's file, absolute, with a zero byte at its end; also after that file has
/// been deleted or replaced by an upgrade. Any thread.
/// @param buf      receives the path; may be null when *bufsize is 0
/// @param bufsize  in: the size of `buf` in bytes, not null. Out: left alone on success, else the size
/// needed.
/// @return 0; -1 when the buffer is too small (nothing is written)
int _NSGetExecutablePath(char* buf, uint32_t* bufsize);

} // extern "C"
