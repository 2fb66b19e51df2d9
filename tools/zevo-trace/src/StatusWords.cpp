#include "StatusWords.h"

#include <map>

namespace Zevo {

StatusWords wordsOfStatus(int status) {
    static const std::map<int, StatusWords> WORDS = {
        {-43, {"fnfErr", "nothing lies at this path", "install the application there"}},
        {-600,
         {"procNotFound", "it cannot be told which applications run, so nothing is started",
          "mount /proc, and let this user see the launcher in it"}},
        {-10661,
         {"kLSExecutableIncorrectFormat",
          "the executable is not for this system, or its interpreter is missing",
          "look at it with file; of a script, at its first line"}},
        {-10810, {"kLSUnknownErr", "a reason that has no number of its own", "start the executable by hand"}},
        {-10811, {"kLSNotAnApplicationErr", "the path is no folder", "install the application there"}},
        {-10826,
         {"kLSNoLaunchPermissionErr", "this user may not execute it",
          "chmod +x, and look at the folders above and at noexec mounts"}},
        {-10827,
         {"kLSNoExecutableErr", "the bundle has no executable by the name that is looked for",
          "look into Contents/MacOS, and at CFBundleExecutable in Contents/Info.plist"}},
        {-36, {"ioErr", "the disk failed, or links form a circle", "look at the system's log"}},
        {-37, {"bdNamErr", "a name in the path is too long", ""}},
        {-42, {"tmfoErr", "no file descriptor is left", ""}},
        {-49, {"opWrErr", "somebody is writing to the executable", "wait for the end of the installation"}},
        {-108, {"memFullErr", "no memory is left, or no process may be added", ""}},
        {-5000, {"afpAccessDenied", "a folder on the way is closed to this user", "open it"}},
    };
    const auto found = WORDS.find(status);
    return found == WORDS.end() ? StatusWords{"", "", ""} : found->second;
}

// Linux's number. It comes together with a request to terminate, and may be handled first.
// fleet/crash-causes.sql lists the same requests.
const char TOLD_TO_CONTINUE[] = "UNKNOWN SIGNAL (18)";

std::string wordsOfCause(const std::string& cause) {
    static const std::map<std::string, const char*> WORDS = {
        {"SIGNAL_HANG_UP", "its terminal or session was closed"},
        {"SIGNAL_INTERRUPT", "Ctrl-C"},
        {"SIGNAL_QUIT", "Ctrl-\\"},
        {"SIGNAL_ILLEGAL_INSTRUCTION", "an instruction that this processor does not have"},
        {"SIGNAL_TRACE_TRAP", "a breakpoint, or a check that the compiler built in"},
        {"SIGNAL_ABORT", "an exception that nobody caught, or damage that the C library found"},
        {"SIGNAL_FLT", "an arithmetic error, such as a division by zero"},
        {"SIGNAL_BUS_ERROR", "signal 10: a bus error on a Mac; on Linux somebody sent it"},
        {"SIGNAL_SEGMENTATION_FAULT", "an access to memory that is not there"},
        {"SIGNAL_BAD_ARGUMENT_SYSTEM_CALL",
         "signal 12: a bad system call on a Mac; on Linux somebody sent it"},
        {"SIGNAL_WRITE_PIPE_WITH_NO_READER", "it wrote to a pipe that nobody reads"},
        {"SIGNAL_ALARM_CLOCK", "an alarm that somebody set"},
        {"SIGNAL_SOTWARE_TERMINATION", "it was told to terminate"},
        {"SIGNAL_SIGCHLD", "signal 20: the end of a child on a Mac; on Linux a stop from the terminal"},
        {"UNKNOWN SIGNAL (7)", "a bus error, on Linux"},
        {TOLD_TO_CONTINUE, "it was told to continue, as service managers do behind the signal that ends it"},
        {"UNKNOWN SIGNAL (24)", "it used more processor time than it may"},
        {"UNKNOWN SIGNAL (25)", "it wrote a file larger than it may"},
    };
    const auto found = WORDS.find(cause);
    if (found != WORDS.end())
        return found->second;
    const bool isViolation = cause.find(" VIOLATION : ") != std::string::npos;
    return isViolation ? "a condition that its own code relies on did not hold" : "";
}

bool isRequestToEnd(const std::string& cause) {
    return cause == TOLD_TO_CONTINUE || cause == "SIGNAL_SOTWARE_TERMINATION" || cause == "SIGNAL_HANG_UP" ||
           cause == "SIGNAL_INTERRUPT";
}

} // namespace Zevo
