#pragma once

#include <dlfcn.h>
#include <string>

/// Begins a function that takes the place of a call of the system's in all of this program's own code:
///
///     SUBSTITUTE(int, fsync, (int descriptor)) {
///         return descriptor == 3 ? -1 : ORIGINAL(fsync)(descriptor);
///     }
///
/// The linker takes what the program defines, and the libraries of the system keep to their own.
#define SUBSTITUTE(result, name, parameters) extern "C" result name parameters

/// The system's own call.
#define ORIGINAL(name) originalCall<decltype(name)>(#name)

/// Calls that have changed since the first 64-bit systems have their new form under a longer name.
template <typename Call>
Call* originalCall(const std::string& name) {
    void* const changed = dlsym(RTLD_NEXT, (name + "$INODE64").c_str());
    return reinterpret_cast<Call*>(changed != nullptr ? changed : dlsym(RTLD_NEXT, name.c_str()));
}
