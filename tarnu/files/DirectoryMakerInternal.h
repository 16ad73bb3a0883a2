/// @file
/// DirectoryMaker: creates directory paths without looking at any directory twice.
#ifndef TARNU_FILES_DIRECTORYMAKERINTERNAL_H
#define TARNU_FILES_DIRECTORYMAKERINTERNAL_H

#include "tarnu/paths/OrvaPath.h"

#include <string>
#include <unordered_set>

namespace tarnu::support {

/// Creates directory paths top-down and remembers every directory it has dealt with, so that none is looked at twice.
class DirectoryMaker {
public:
    /// Creates a directory and the ones above it. A failure does not end the work: what is below is tried all the same.
    /// @return 1 when a component that was not dealt with before was missing and could not be created, otherwise 0
    int Make(OrvaPath path);

private:
    std::unordered_set<std::wstring> m_known;
};

} // namespace tarnu::support

#endif // TARNU_FILES_DIRECTORYMAKERINTERNAL_H
