/// @file
/// What OrvaZipFiles asks of a writer beyond its interface.
#ifndef TARNU_ARCHIVE_ZIPWRITERINTERNAL_H
#define TARNU_ARCHIVE_ZIPWRITERINTERNAL_H

#include "tarnu/archive/OrvaZip.h"
#include "tarnu/archive/OrvaZipWriter.h"
#include "tarnu/support/Owners.h"

namespace tarnu::support {

struct ZipWriterAccess {
    /// OrvaZipWriter::AddFile with a file or directory that OpenToRead opened.
    /// @param isDirectory  receives whether it is a directory; valid on success
    static OrvaZipResult AddOpened(OrvaZipWriter& writer, const wchar_t* name, const UniqueFileHandle& file,
                                   bool& isDirectory);
    /// OrvaZipWriter::AddFile that tells on its way whether the file is there, and whether it is one.
    /// @param progress     told about the file before it is added, when there is such a file or directory, whatever
    ///                     becomes of it; what it throws passes through
    /// @param isDirectory  receives whether it is a directory; valid on success
    static OrvaZipResult AddExisting(OrvaZipWriter& writer, const wchar_t* name, const wchar_t* path,
                                     const OrvaZipProgress& progress, UINT number, UINT count, bool& isDirectory);
};

} // namespace tarnu::support

#endif // TARNU_ARCHIVE_ZIPWRITERINTERNAL_H
