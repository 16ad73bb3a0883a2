/// @file
/// The result codes of the archive classes, and their texts.
#ifndef TARNU_ARCHIVE_ORVAZIPRESULT_H
#define TARNU_ARCHIVE_ORVAZIPRESULT_H

#include "tarnu/framework/framework.h"

/// What an operation on an archive came to. Below 0x10000 the system failed, from 0x10000 to 0x80000 the caller did,
/// from 0x1000000 on the archive code itself.
enum OrvaZipResult : UINT {
    OrvaZipSuccess = 0x0,
    OrvaZipRecent = 0x1, ///< stands for the calling thread's last result; never returned

    OrvaZipNoDuplicate = 0x100, ///< a handle could not be duplicated
    OrvaZipNoFile = 0x200,      ///< a file could not be created or opened
    OrvaZipNoMemory = 0x300,
    OrvaZipWriteFailed = 0x400,
    OrvaZipNotFound = 0x500,   ///< no entry of that name
    OrvaZipMore = 0x600,       ///< the entry has more data than was asked for
    OrvaZipCorrupt = 0x700,    ///< no archive, a damaged one, or an entry of a kind that is not read
    OrvaZipReadFailed = 0x800, ///< a file could not be read

    OrvaZipBadArguments = 0x10000, ///< also: an encrypted entry without its password
    OrvaZipNotMemory = 0x20000,
    OrvaZipMemoryFull = 0x30000,
    OrvaZipPreviousError = 0x40000,
    OrvaZipEnded = 0x50000,
    OrvaZipWrongSize = 0x60000, ///< a file shrank while it was read
    OrvaZipPartlyUnzipped = 0x70000,
    OrvaZipMixedUse = 0x80000,

    OrvaZipNotInitialized = 0x1000000,
    OrvaZipNotSeekable = 0x2000000,
    OrvaZipNoChange = 0x4000000,
    OrvaZipFlateFailed = 0x5000000,
};

/// Writes the text of a result code.
///
/// @param code    an OrvaZipResult; 1 stands for the last result that an archive operation gave on the calling thread;
///                an unknown value gives "unknown zip result code"
/// @param buffer  receives at most @p length - 1 characters and a terminator; may be null
/// @param length  size of the buffer in characters; with 0 the buffer is not touched
/// @return the length of the full text in characters, also when the copy was cut or none was made
TARNU_API UINT OrvaFormatZipMessage(UINT code, char* buffer, UINT length);

#endif // TARNU_ARCHIVE_ORVAZIPRESULT_H
