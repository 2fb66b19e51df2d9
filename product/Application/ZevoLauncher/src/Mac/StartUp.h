#pragma once

/// Opens standard input, output and error on the null device if they are closed. Otherwise a file or socket
/// of the launcher would get their numbers, and diagnostics would be written into it. Called first in main.
void openStandardFiles();

/// Reads the identity card, creates the log folder, and sets up the tracer and the logger, each from its
/// configuration file beside the executable and only if none exists yet; then logs the identity banner.
/// Called once, at the beginning of main, on the main thread.
///
/// If another launcher holds the log folder, reports that on standard error and in the log, and waits until
/// that launcher has ended: the tracer's first line would empty its trace.
///
/// A missing card and a log folder that cannot be created are reported to the exception handler, which ends
/// the process; should that report return, start-up continues with empty values. Standard error names the
/// card or the log folder.
void initTracesAndLogs();
