#pragma once

#include <dlfcn.h>
#include <string>

/// Begins a function that replaces a system call in all of this program's own code:
///
///     SUBSTITUTE(int, fsync, (int descriptor)) {
///         return descriptor == 3 ? -1 : ORIGINAL(fsync)(descriptor);
///     }
///
/// The linker uses the program's definition; the libraries of the system keep their own.
#define SUBSTITUTE(result, name, parameters) extern "C" result name parameters

/// The system's own function.
#define ORIGINAL(name) originalCall<decltype(name)>(#name)

/// Functions that have changed since the first 64-bit systems have their new form under a longer name.
template <typename Call>
Call* originalCall(const std::string& name) {
    void* const changed = dlsym(RTLD_NEXT, (name + "$INODE64").c_str());
    return reinterpret_cast<Call*>(changed != nullptr ? changed : dlsym(RTLD_NEXT, name.c_str()));
}
