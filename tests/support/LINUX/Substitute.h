#pragma once

/// Begins a function that replaces a system call in all of this program's own code:
///
///     SUBSTITUTE(int, fsync, (int descriptor)) {
///         return descriptor == 3 ? -1 : ORIGINAL(fsync)(descriptor);
///     }
///
/// The program's CMakeLists.txt also names the call, with zevo_substitute: here the linker redirects it.
#define SUBSTITUTE(result, name, parameters)                                                                 \
    extern "C" result __real_##name parameters;                                                              \
    extern "C" result __wrap_##name parameters;                                                              \
    result __wrap_##name parameters

/// The system's own function.
#define ORIGINAL(name) __real_##name
