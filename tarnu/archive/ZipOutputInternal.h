/// @file
/// Where an archive is written to: a file or memory, behind one buffer, with patching of what was written before.
#ifndef TARNU_ARCHIVE_ZIPOUTPUTINTERNAL_H
#define TARNU_ARCHIVE_ZIPOUTPUTINTERNAL_H

#include "tarnu/archive/OrvaZipResult.h"
#include "tarnu/archive/ZipFilesInternal.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>

namespace tarnu::support {

/// The bytes of a growing archive. Everything up to m_base stands in the file, everything behind it in the buffer; a
/// memory archive is all buffer. After a failure the output is of no use except for Discard.
class ZipOutput {
public:
    /// Writes beside @p target; Finish puts the file in its place.
    OrvaZipResult CreateFile(const std::wstring& target);
    /// @param maximum  in bytes; 0 for no limit
    OrvaZipResult CreateMemory(std::size_t maximum);
    bool IsMemory() const noexcept { return m_isMemory; }

    std::uint64_t Position() const noexcept { return m_base + m_used; }
    /// Room for at least one byte behind what was written, to be filled and then counted in with Advance. Null after a
    /// failure, which @p result tells.
    std::uint8_t* AnyRoom(std::size_t& available, OrvaZipResult& result) noexcept;
    /// Room for @p size bytes in one piece. Null with success when the buffer does not hold as much.
    std::uint8_t* RoomFor(std::size_t size, OrvaZipResult& result) noexcept;
    void Advance(std::size_t count) noexcept { m_used += count; }
    OrvaZipResult Write(const void* data, std::size_t size) noexcept;
    /// Replaces bytes that were written before.
    OrvaZipResult Patch(std::uint64_t offset, const void* data, std::size_t size) noexcept;
    /// Takes back what was written behind @p offset.
    void Rewind(std::uint64_t offset) noexcept;

    /// Writes out the rest. A file gets its name and is closed.
    OrvaZipResult Finish() noexcept;
    void Discard() noexcept;
    const std::uint8_t* Memory() const noexcept { return m_buffer.Get(); }

private:
    OrvaZipResult Flush() noexcept;
    bool WriteAt(std::uint64_t offset, const void* data, std::size_t size) noexcept;

    PendingFile m_file;
    bool m_isMemory = false;
    UniqueMalloc<std::uint8_t> m_buffer;
    std::size_t m_capacity = 0;
    std::size_t m_used = 0;
    std::size_t m_maximum = 0;
    std::uint64_t m_base = 0;
    std::uint64_t m_fileSize = 0; ///< of what the file has held so far, also if it was taken back
};

} // namespace tarnu::support

#endif // TARNU_ARCHIVE_ZIPOUTPUTINTERNAL_H
