/// @file
/// The error flag of the file operations, 1 for failure, with the reason as the thread's last error.
#ifndef TARNU_FILES_ERRORFLAGINTERNAL_H
#define TARNU_FILES_ERRORFLAGINTERNAL_H

#include "tarnu/framework/framework.h"

namespace tarnu::support {

/// The flag of a failed operation.
inline int Failed(DWORD error) noexcept {
    ::SetLastError(error);
    return 1;
}

/// Runs an operation whose only way to throw is running out of memory, which counts as its failure.
template <class Operation>
int FlagOf(Operation operation) noexcept {
    try {
        return operation();
    } catch (...) {
        return Failed(ERROR_NOT_ENOUGH_MEMORY);
    }
}

} // namespace tarnu::support

#endif // TARNU_FILES_ERRORFLAGINTERNAL_H
