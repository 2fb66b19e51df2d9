#pragma once

// Contract checks: preconditions (REQUIRE), postconditions (ENSURE) and internal assumptions (ASSERT).
//
// A failed check throws nothing. It is recorded, a signal is raised, and the crash handler writes the record
// and the call stacks to the trace and ends the process. Where no handler is installed and the signal is
// ignored, the check returns and the caller continues.
//
// Use, in a .cpp file:
//
//     #include "ContractChecks.h"
//     static const char KF_SOURCE[] = "product/Infrastructure/ProgrammingServices/OS/src/KFThread";
//     ...
//     KF_REQUIRE(arg != NULL, 156);
//
// KF_SOURCE and the line number are stable identifiers that support quotes: they are written in the check
// itself and do not change when the code around it is edited. The text of the condition is part of the
// report, too, so it is written exactly as it is to appear there.
//
// Thread: any. The condition is evaluated exactly once.

namespace kf::detail {

/// Reports a broken contract. Declared here, on the lowest floor, because every floor checks contracts;
/// defined by the exception handler, above the tracer that it writes to.
/// @param kind       "REQUIRE VIOLATION", "ENSURE VIOLATION" or "ASSERT VIOLATION"
/// @param condition  the literal text of the condition
/// @param file       KF_SOURCE
/// @param line       the stable line number
void reportContractViolation(const char* kind, const char* condition, const char* file, int line);

} // namespace kf::detail

// The outer macro makes the text, before macros in the condition (NULL) are expanded.
#define KF_CHECK_CONTRACT_(kind, condition, text, line)                                                      \
    ((condition) ? static_cast<void>(0) : ::kf::detail::reportContractViolation(kind, text, KF_SOURCE, line))

#define KF_REQUIRE(condition, line) KF_CHECK_CONTRACT_("REQUIRE VIOLATION", condition, #condition, line)
#define KF_ENSURE(condition, line) KF_CHECK_CONTRACT_("ENSURE VIOLATION", condition, #condition, line)
#define KF_ASSERT(condition, line) KF_CHECK_CONTRACT_("ASSERT VIOLATION", condition, #condition, line)
