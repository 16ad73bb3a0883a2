/// @file
/// OrvaZipReader: reads and extracts the entries of a zip archive.
#ifndef TARNU_ARCHIVE_ORVAZIPREADER_H
#define TARNU_ARCHIVE_ORVAZIPREADER_H

#include "tarnu/archive/OrvaZipEntry.h"
#include "tarnu/archive/OrvaZipResult.h"
#include "tarnu/framework/framework.h"

#include <cstddef>
#include <functional>
#include <memory>

/// Told about a file that an extracted entry is about to replace: its path, and what stands there now. It can't veto.
using OrvaZipOverwrite = std::function<void(const wchar_t* target, const WIN32_FIND_DATAW& existing)>;

/// Reads one archive, in a file or in memory. Opening it walks its directory once; entries are then reached by their
/// index, in archive order, without a search.
///
/// @code
/// OrvaZipReader reader;
/// if (reader.Open(L"C:\\in\\survey.zip") != OrvaZipSuccess) …
/// for (ULONGLONG index = 0; index < reader.GetCount(); ++index) reader.ExtractBelow(index, L"C:\\out");
/// @endcode
///
/// An archive is untrusted input: counts, sizes, offsets and checksums are verified, no more memory is taken than an
/// archive of that size can hold data for, and no entry is written outside the folder that it is extracted to. Entries
/// are stored or deflated; others, and encrypted ones without their password, fail. All results are also remembered for
/// OrvaFormatZipMessage.
/// @par Threads
/// One thread at a time per object.
/// @par Ownership
/// Owns the archive's file handle. Memory that is passed to OpenMemory is borrowed until Close.
class TARNU_API OrvaZipReader {
public:
    OrvaZipReader() noexcept;
    ~OrvaZipReader();
    OrvaZipReader(const OrvaZipReader&) = delete;
    OrvaZipReader& operator=(const OrvaZipReader&) = delete;

    /// Opens an archive in a file; what was open before is closed.
    /// @param path      of the archive
    /// @param password  for encrypted entries, in UTF-8 or in one of the system's code pages; null or empty for none
    /// @return OrvaZipNoFile when the file can't be opened, OrvaZipCorrupt when it is no archive or a damaged one
    OrvaZipResult Open(const wchar_t* path, const wchar_t* password = nullptr);
    /// Opens an archive in memory; what was open before is closed.
    /// @param data      must stay until the reader is closed
    /// @param size      bytes of the archive
    /// @param password  as for Open
    /// @return OrvaZipBadArguments for null, OrvaZipCorrupt when it is no archive or a damaged one
    OrvaZipResult OpenMemory(const void* data, std::size_t size, const wchar_t* password = nullptr);
    /// Closes the archive; without an open one nothing happens.
    void Close() noexcept;

    /// @return the entries of the archive; 0 when none is open
    ULONGLONG GetCount() const noexcept;
    /// What the archive's directory tells about an entry.
    /// @param index  counted from 0
    /// @param entry  receives it; untouched on failure
    /// @return OrvaZipBadArguments for an index beyond the last entry
    OrvaZipResult GetEntry(ULONGLONG index, OrvaZipEntry& entry) const;

    /// Begins to read an entry, and ends an earlier one.
    /// @param index  of the entry, counted from 0
    /// @return OrvaZipCorrupt for an entry that contradicts itself, is damaged or of a kind that is not read;
    ///         OrvaZipBadArguments for one that is encrypted and not with this password
    OrvaZipResult OpenEntry(ULONGLONG index);
    /// Reads the next piece of the entry that OpenEntry began.
    /// @param buffer  receives at most @p size bytes
    /// @param size    bytes that the buffer holds
    /// @param read    bytes that were read
    /// @return OrvaZipMore while there is more to come, OrvaZipSuccess at the end, when size and checksum have been
    ///         verified; OrvaZipCorrupt when they don't hold
    OrvaZipResult ReadEntry(void* buffer, std::size_t size, std::size_t& read);

    /// Reads a whole entry.
    /// @param index   of the entry, counted from 0
    /// @param buffer  receives it; OrvaZipMore when @p size bytes are not enough (nothing is verified then)
    /// @param size    bytes that the buffer holds
    /// @return as OpenEntry and ReadEntry
    OrvaZipResult ExtractToMemory(ULONGLONG index, void* buffer, std::size_t size);
    /// Extracts an entry into a file, which is replaced when it exists. The file appears when the data has been
    /// verified, with the entry's times and attributes; until then, and on failure, nothing is touched.
    /// @param index  of the entry, counted from 0
    /// @param path   of the file; its folder must exist
    /// @return as OpenEntry; OrvaZipNoFile or OrvaZipWriteFailed when the file can't be written
    OrvaZipResult ExtractToFile(ULONGLONG index, const wchar_t* path);
    /// Extracts an entry to the place below a folder that its name stands for, with the folders on the way.
    ///
    /// A file that exists is left alone, unless @p overwrite is given: that is told about it and the file is replaced.
    /// The entry is verified before anything is touched.
    /// @param index      of the entry, counted from 0
    /// @param folder     need not exist
    /// @param overwrite  see above; may be null
    /// @param written    when given, receives whether a file was written or a folder is there now
    /// @return OrvaZipBadArguments for a name that leads out of the folder or that no file can have
    OrvaZipResult ExtractBelow(ULONGLONG index, const wchar_t* folder, const OrvaZipOverwrite& overwrite = nullptr,
                               bool* written = nullptr);

private:
    class Core;
    std::unique_ptr<Core> m_core;
};

#endif // TARNU_ARCHIVE_ORVAZIPREADER_H
