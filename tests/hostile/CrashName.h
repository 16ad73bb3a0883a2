/// @file
/// Names the input at hand when the program crashes.
#ifndef TARNU_TESTS_HOSTILE_CRASHNAME_H
#define TARNU_TESTS_HOSTILE_CRASHNAME_H

namespace tarnu::test::hostile {

/// Remembers what is tried now, in the way of printf. A crash prints it, with the place in the library.
void NameInput(const char* format, ...);

/// What NameInput remembered last, for the message of a failure.
const char* InputName();

} // namespace tarnu::test::hostile

#endif // TARNU_TESTS_HOSTILE_CRASHNAME_H
