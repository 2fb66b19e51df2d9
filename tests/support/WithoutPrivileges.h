#pragma once

#include <cstdint>

/// While one exists, file modes apply to the calling thread, also if it is the superuser's. Its user stays
/// the same, so the owner's permissions count. Throws std::runtime_error if the system has no such feature:
/// on macOS file modes never apply to the superuser, and the tests are run by an ordinary user.
class WithoutPrivileges {
public:
    WithoutPrivileges();
    ~WithoutPrivileges();
    WithoutPrivileges(const WithoutPrivileges&) = delete;
    WithoutPrivileges& operator=(const WithoutPrivileges&) = delete;

    /// The same until the process ends; then access(2) agrees. Only before it has threads.
    static void forGood();

private:
    [[maybe_unused]] std::uint32_t m_before[2] = {}; // on Linux: what is restored at the end
};
