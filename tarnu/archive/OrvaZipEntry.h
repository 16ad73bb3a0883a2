/// @file
/// OrvaZipEntry: what an archive tells about one of its entries.
#ifndef TARNU_ARCHIVE_ORVAZIPENTRY_H
#define TARNU_ARCHIVE_ORVAZIPENTRY_H

#include "tarnu/framework/framework.h"

/// One entry of an archive, as the archive's directory describes it. Nothing of it has been compared with the data yet.
/// A value: one thread at a time per object.
struct OrvaZipEntry {
    CString name;                 ///< as stored, with either separator; may be anything in a hostile archive
    ULONGLONG size = 0;           ///< of the data, in bytes
    ULONGLONG compressedSize = 0; ///< of what stands in the archive, in bytes
    DWORD crc = 0;                ///< CRC-32 of the data
    DWORD attributes = 0;         ///< FILE_ATTRIBUTE_…: read-only, hidden, system, archive, directory
    WORD method = 0;              ///< 0 stored, 8 deflate; others can't be extracted
    bool isDirectory = false;     ///< the name ends in a separator
    bool isEncrypted = false;     ///< extracting takes the password
    FILETIME lastWrite{};         ///< UTC
    FILETIME lastAccess{};        ///< UTC; zero when the archive does not tell
    FILETIME creation{};          ///< UTC; zero when the archive does not tell
};

#endif // TARNU_ARCHIVE_ORVAZIPENTRY_H
