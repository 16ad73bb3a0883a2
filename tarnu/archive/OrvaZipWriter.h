/// @file
/// OrvaZipWriter: creates a zip archive in a file or in memory.
#ifndef TARNU_ARCHIVE_ORVAZIPWRITER_H
#define TARNU_ARCHIVE_ORVAZIPWRITER_H

#include "tarnu/archive/OrvaZipResult.h"
#include "tarnu/framework/framework.h"

#include <cstddef>
#include <memory>

namespace tarnu::support {
struct ZipWriterAccess;
}

/// Writes one archive, entry by entry. A file archive appears, and takes an older one's place, when it is closed; until
/// then it stands under a temporary name in the same folder. Without Close nothing is left behind.
///
/// @code
/// OrvaZipWriter writer;
/// writer.Create(L"C:\\out\\survey.zip");
/// writer.AddFile(L"points\\today.txt", L"C:\\data\\today.txt");
/// if (writer.Close() != OrvaZipSuccess) …
/// @endcode
///
/// Names may use either separator and are stored in the format's own notation: forward slashes, no drive, "./" or "/"
/// in front, a trailing "/" for directories, UTF-8 and flagged as such when they are not plain ASCII. Entries are
/// compressed with deflate, except directories and files whose extension says that they are compressed already (.Z .zip
/// .zoo .arc .lzh .arj .gz .tgz). Times are stored as local DOS time and, to 100 ns, in the NTFS extra field. Sizes and
/// counts beyond 4 GiB and 65 534 use the zip64 records.
///
/// An entry that can't be read is left out: its operation fails, the archive stays good and more can be added. After an
/// error in writing the archive itself every further operation fails with OrvaZipPreviousError. All results are also
/// remembered for OrvaFormatZipMessage.
/// @par Threads
/// One thread at a time per object.
/// @par Ownership
/// Owns the archive's file or memory. Paths, handles and memory that are passed in are borrowed for the call.
class TARNU_API OrvaZipWriter {
public:
    OrvaZipWriter() noexcept;
    /// Discards an archive that has not been closed.
    ~OrvaZipWriter();
    OrvaZipWriter(const OrvaZipWriter&) = delete;
    OrvaZipWriter& operator=(const OrvaZipWriter&) = delete;

    /// Begins an archive in a file; what this object held before is discarded.
    /// @param path      of the archive; its folder must exist
    /// @param password  encrypts all entries with the traditional encryption, which keeps out the curious and nobody
    ///                  else; its UTF-8 bytes count. Null or empty for none
    /// @return OrvaZipNoFile when the archive can't be created there
    OrvaZipResult Create(const wchar_t* path, const wchar_t* password = nullptr);
    /// Begins an archive in memory.
    /// @param maximum  size in bytes that it may have; 0 for no limit. Growing beyond fails with OrvaZipMemoryFull
    /// @param password as for Create
    /// @return OrvaZipSuccess; OrvaZipNoMemory
    OrvaZipResult CreateInMemory(std::size_t maximum = 0, const wchar_t* password = nullptr);

    /// Adds a file, or a directory as such (not what is in it), with its times and attributes.
    /// @param name  of the entry
    /// @param path  of the file or directory
    /// @return OrvaZipNoFile, OrvaZipReadFailed or OrvaZipWrongSize (the file shrank while it was read): the entry is
    ///         left out; OrvaZipBadArguments for a name that is empty or longer than 65 535 bytes
    OrvaZipResult AddFile(const wchar_t* name, const wchar_t* path);
    /// Adds a block of memory.
    /// @param name        of the entry
    /// @param data        @p size bytes
    /// @param size        of the data, in bytes
    /// @param lastWrite   UTC; null for now
    /// @param attributes  read-only, hidden, system and archive are stored
    /// @return OrvaZipSuccess; OrvaZipBadArguments for a name that is empty or too long; OrvaZipMemoryFull,
    ///         OrvaZipWriteFailed
    OrvaZipResult AddMemory(const wchar_t* name, const void* data, std::size_t size,
                            const FILETIME* lastWrite = nullptr, DWORD attributes = FILE_ATTRIBUTE_ARCHIVE);
    /// Adds what an open handle has from its position on: a file up to the size that it has now, with its times and
    /// attributes; a pipe or device up to its end.
    /// @param name    of the entry
    /// @param handle  open for reading; stays open, behind what was read
    /// @return OrvaZipSuccess; OrvaZipReadFailed, for a directory too, or OrvaZipWrongSize (the file shrank while it
    ///         was read): the entry is left out; OrvaZipBadArguments for no handle and as for AddFile
    OrvaZipResult AddHandle(const wchar_t* name, HANDLE handle);
    /// Adds an entry for a directory.
    /// @param name        of the entry; a separator at its end is optional
    /// @param lastWrite   UTC; null for now
    /// @param attributes  read-only, hidden, system and archive are stored
    /// @return as AddMemory
    OrvaZipResult AddDirectory(const wchar_t* name, const FILETIME* lastWrite = nullptr,
                               DWORD attributes = FILE_ATTRIBUTE_DIRECTORY);

    /// @return the entries that the archive has so far; 0 before Create
    ULONGLONG GetCount() const noexcept;

    /// Ends the additions: writes the directory and gives a file archive its name.
    /// @return a failure leaves what stood under the archive's name as it was
    OrvaZipResult Close();
    /// The bytes of a memory archive, closed first if need be; they stay until the next Create or the destructor.
    /// @param data  receives the address of the bytes
    /// @param size  receives their number
    /// @return OrvaZipNotMemory for a file archive; the parameters are null and 0 on failure
    OrvaZipResult GetMemory(const void*& data, std::size_t& size);

private:
    friend struct tarnu::support::ZipWriterAccess;

    class Core;
    std::unique_ptr<Core> m_core;
};

#endif // TARNU_ARCHIVE_ORVAZIPWRITER_H
