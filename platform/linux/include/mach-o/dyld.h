#pragma once

#include <stdint.h>

extern "C" {

/// The absolute path of the running executable, NUL-terminated; also after that file was deleted or replaced
/// by an upgrade. Any thread.
/// @param buf      receives the path; may be null if *bufsize is 0
/// @param bufsize  in: the size of `buf` in bytes, not null. Out: unchanged on success, else the size needed
/// @return 0; -1 if the buffer is too small (nothing is written)
int _NSGetExecutablePath(char* buf, uint32_t* bufsize);

} // extern "C"
