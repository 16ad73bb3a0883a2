/// @file
/// Ends a test program that hangs, so that a hang is a failure with a name.
#ifndef TARNU_TESTS_SUPPORT_WATCHDOG_H
#define TARNU_TESTS_SUPPORT_WATCHDOG_H

namespace tarnu::test {

/// Exit code of a program that the watchdog ended.
inline constexpr unsigned watchdogExitCode = 42;

/// Starts the watchdog: a test that runs for more than @p minutes ends the program, after its name has been printed.
void StartWatchdog(unsigned minutes = 5);

} // namespace tarnu::test

#endif // TARNU_TESTS_SUPPORT_WATCHDOG_H
