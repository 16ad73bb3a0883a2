/// @file
/// Where an archive is read from: a file or memory, random access through two windows.
#ifndef TARNU_ARCHIVE_ZIPSOURCEINTERNAL_H
#define TARNU_ARCHIVE_ZIPSOURCEINTERNAL_H

#include "tarnu/archive/OrvaZipResult.h"
#include "tarnu/support/Owners.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

namespace tarnu::support {

/// The bytes of an archive. A file is seen through one window over the entries and one over the directory at its end,
/// so that going to and fro between an entry and its directory record reads nothing twice. Memory is borrowed and seen
/// as it is.
class ZipSource {
public:
    OrvaZipResult OpenFile(const std::wstring& path);
    void OpenMemory(const void* data, std::size_t size) noexcept;

    std::uint64_t Size() const noexcept { return m_size; }
    /// From here on offsets are seen through the directory's window. At first everything is.
    void SetDirectory(std::uint64_t offset) noexcept { m_directory = offset; }
    std::uint64_t Directory() const noexcept { return m_directory; }

    /// The bytes from @p offset on, at least one; null behind the end or when reading failed. They are valid until the
    /// next call.
    /// @param wanted  bytes that are shown in one piece, when they are there and the window is that large
    const std::uint8_t* View(std::uint64_t offset, std::size_t& available, std::size_t wanted = 1) noexcept;
    /// Copies @p size bytes; false when not all of them are there.
    bool Read(std::uint64_t offset, void* buffer, std::size_t size) noexcept;
    /// The system refused to read since the archive was opened.
    bool HasFailed() const noexcept { return m_failed; }

    // The sequential view of the directory walk

    std::uint64_t position = 0;
    std::uint64_t lowest = UINT64_MAX; ///< that was read from; during the walk it is the directory's beginning

private:
    struct Window {
        std::unique_ptr<std::uint8_t[]> bytes;
        std::size_t capacity = 0;
        std::uint64_t start = 0;
        std::size_t used = 0;
    };
    bool Fill(Window& window, std::uint64_t offset) noexcept;

    UniqueFileHandle m_file;
    const std::uint8_t* m_memory = nullptr;
    std::uint64_t m_size = 0;
    std::uint64_t m_directory = 0;
    Window m_windows[2];
    bool m_failed = false;
};

} // namespace tarnu::support

#endif // TARNU_ARCHIVE_ZIPSOURCEINTERNAL_H
