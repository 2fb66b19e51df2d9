#pragma once

/// Opens standard input, output and error on the null device where they are closed: else a file or socket of
/// the launcher would get their numbers, and diagnostics would be written into it. The first thing in main.
void openStandardFiles();

/// Reads the identity card, creates the log folder, and sets up the tracer and the logger, each from its
/// configuration file beside the executable and only if none exists yet; then logs the identity banner.
/// Called once, at the beginning of main, on the main thread.
///
/// Where another launcher holds the log folder, says so on standard error and in the log, and waits until it
/// has ended: the tracer's first line would empty that launcher's trace.
///
/// A missing card and a log folder that cannot be created are reported to the exception handler, which ends
/// the process; should that report return, start-up goes on with empty values. Standard error tells which log
/// folder it is.
void initTracesAndLogs();
