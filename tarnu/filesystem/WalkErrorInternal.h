/// @file
/// WalkError: why a walk has left something out. The walks themselves report no error; whoever must not take a part for
/// the whole asks here.
#ifndef TARNU_FILESYSTEM_WALKERRORINTERNAL_H
#define TARNU_FILESYSTEM_WALKERRORINTERNAL_H

#include "tarnu/filesystem/OrvaFileMatch.h"

namespace tarnu::support {

/// Access to the error that the library's own walks keep.
class WalkError {
public:
    /// The first Win32 error since Open that kept a directory from being listed to its end; 0 for none. A directory
    /// that is missing is none, and neither is anything in a walk that is not the library's.
    static DWORD Of(const OrvaFileMatch& walk);

    /// Keeps the first of several errors.
    static void Keep(DWORD& first, DWORD error) noexcept {
        if (first == ERROR_SUCCESS) first = error;
    }
};

} // namespace tarnu::support

#endif // TARNU_FILESYSTEM_WALKERRORINTERNAL_H
