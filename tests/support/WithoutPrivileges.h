#pragma once

#include <cstdint>

/// For a scope, the calling thread obeys file modes, also when it is the superuser's. It stays the same user, so
/// that the owner's permissions count. Throws std::runtime_error where the system has no such thing: on macOS the
/// superuser cannot be bound, and the tests are run by an ordinary user.
class WithoutPrivileges {
public:
    WithoutPrivileges();
    ~WithoutPrivileges();
    WithoutPrivileges(const WithoutPrivileges&) = delete;
    WithoutPrivileges& operator=(const WithoutPrivileges&) = delete;

    /// The same to the end of the process, whose answers from access(2) agree then. Only before it has threads.
    static void forGood();

private:
    [[maybe_unused]] std::uint32_t m_before[2] = {}; // on Linux: what comes back at the end
};
