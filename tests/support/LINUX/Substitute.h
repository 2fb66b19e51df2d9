#pragma once

/// Begins a function that takes the place of a call of the system's in all of this program's own code:
///
///     SUBSTITUTE(int, fsync, (int descriptor)) {
///         return descriptor == 3 ? -1 : ORIGINAL(fsync)(descriptor);
///     }
///
/// The program's CMakeLists.txt names the call too, with zevo_substitute: here the linker redirects it.
#define SUBSTITUTE(result, name, parameters)                                                                 \
    extern "C" result __real_##name parameters;                                                              \
    extern "C" result __wrap_##name parameters;                                                              \
    result __wrap_##name parameters

/// The system's own call.
#define ORIGINAL(name) __real_##name
