/// @file
/// The exception that a file operation throws.
#ifndef TARNU_TESTS_FRAMEWORK_CATCH_H
#define TARNU_TESTS_FRAMEWORK_CATCH_H

#include "tarnu/framework/framework.h"

#include <memory>

namespace tarnu::test {

/// Runs @p action and returns the CFileException that it throws, or nothing when it throws none.
template <class Action>
std::unique_ptr<CFileException> Catch(Action action) {
    try {
        action();
    } catch (CFileException* exception) {
        return std::unique_ptr<CFileException>(exception);
    }
    return nullptr;
}

} // namespace tarnu::test

#endif // TARNU_TESTS_FRAMEWORK_CATCH_H
