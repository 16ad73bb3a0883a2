/// @file
/// Names the input at hand when the program crashes.
#ifndef TARNU_TESTS_SUPPORT_CRASHNAME_H
#define TARNU_TESTS_SUPPORT_CRASHNAME_H

namespace tarnu::test {

/// Remembers what is tried now, in the way of printf. A crash or std::terminate prints it, with the places in the
/// library that were at work, and ends the program.
void NameInput(const char* format, ...);

/// What NameInput remembered last, for the message of a failure.
const char* InputName();

} // namespace tarnu::test

#endif // TARNU_TESTS_SUPPORT_CRASHNAME_H
