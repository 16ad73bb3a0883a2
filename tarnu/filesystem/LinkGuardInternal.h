/// @file
/// Keeps walks from running in circles through directory links.
#ifndef TARNU_FILESYSTEM_LINKGUARDINTERNAL_H
#define TARNU_FILESYSTEM_LINKGUARDINTERNAL_H

#include "tarnu/filesystem/OrvaBasicFileMatcher.h"

namespace tarnu::support {

/// True when the matcher's current entry is a link to a directory that it lies in itself: entering it would never end.
/// Asks the system only about entries that carry the reparse attribute.
bool LeadsToAncestor(const OrvaBasicFileMatcher& matcher);

} // namespace tarnu::support

#endif // TARNU_FILESYSTEM_LINKGUARDINTERNAL_H
