#pragma once
// The crash report. A fatal signal (SIGSEGV, SIGBUS, SIGILL, SIGFPE, SIGABRT) runs a handler
// on its own stack that writes the report's details and a stack trace to a file in the data
// root, then lets the signal end the process as it would have. The handler uses only
// async-signal-safe calls: everything it needs is prepared when it is installed.
//
// At the next start the report is taken (once: the file is renamed so it is never offered
// again), the user may add a description and an address, and it is posted to the address in
// the crshur setting; nothing is sent while that is empty.

#include <string>

constexpr const char* kCrashReportFile = "crash-report.txt";

// Main thread, once the data root exists. Installing again moves the report to a new path.
void InstallCrashHandler(const std::string& reportPath);

// The report the last run left, or empty. The file is renamed to "<path>.offered".
std::string TakePendingCrashReport(const std::string& reportPath);

// The text that is sent: the user's words, then the details the handler wrote.
std::string ComposeCrashReport(const std::string& description, const std::string& email,
                               const std::string& details);

// Posts the composed report to `address` (http://host[:port]/path). False, logged, when the
// address is empty or bad, or the service did not take it.
bool SendCrashReport(const std::string& address, const std::string& report);
