/// @file
/// The last result of the archive code.
#ifndef TARNU_ARCHIVE_ZIPRESULTINTERNAL_H
#define TARNU_ARCHIVE_ZIPRESULTINTERNAL_H

#include "tarnu/archive/OrvaZipResult.h"

#include <new>

namespace tarnu::support {

/// Remembers a result as the calling thread's last one and hands it on.
OrvaZipResult RecordZipResult(OrvaZipResult result) noexcept;

/// Runs an operation of an archive class: running out of memory becomes a result, and the result is recorded. What a
/// callback throws passes through.
template <class Operation>
OrvaZipResult RecordZip(Operation operation) {
    OrvaZipResult result = OrvaZipNoMemory;
    try {
        result = operation();
    } catch (const std::bad_alloc&) {
    }
    return RecordZipResult(result);
}

} // namespace tarnu::support

#endif // TARNU_ARCHIVE_ZIPRESULTINTERNAL_H
