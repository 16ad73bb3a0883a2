/// @file
/// Programs of the system that Wine runs on.
#ifndef TARNU_TESTS_SUPPORT_HOSTPROGRAM_H
#define TARNU_TESTS_SUPPORT_HOSTPROGRAM_H

#include <string>

namespace tarnu::test {

/// Under Wine, starts a program of the host's /bin and does not wait for its end. Wine 8.0 closes an arbitrary handle
/// in a process that does so: it takes the new thread's handle from a variable that nothing was written to. Therefore
/// another process does it, this same program, which has nothing to lose and ends at once.
/// @param command name and arguments, as they would be typed
void RunOnHost(const std::wstring& command);

/// For main, before anything else: when RunOnHost has started this process, runs its program and ends the process.
void ServeRunOnHost();

} // namespace tarnu::test

#endif // TARNU_TESTS_SUPPORT_HOSTPROGRAM_H
