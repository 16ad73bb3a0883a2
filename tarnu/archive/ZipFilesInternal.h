/// @file
/// Files that appear only when they are complete, and the folders that they stand in.
#ifndef TARNU_ARCHIVE_ZIPFILESINTERNAL_H
#define TARNU_ARCHIVE_ZIPFILESINTERNAL_H

#include "tarnu/support/ExtendedPath.h"
#include "tarnu/support/Owners.h"

#include <cstddef>
#include <string>
#include <vector>

namespace tarnu::support {

/// Creates the folders of a path that are missing, outermost first.
class FolderMaker {
public:
    /// @return true when the folder exists at the end
    bool Make(const std::wstring& folder);
    /// Removes again what the last Make made.
    void Undo() noexcept;

private:
    /// Calls @p operation with the first @p length characters of the path, terminated.
    template <class Operation>
    bool OnPrefix(std::size_t length, Operation operation) noexcept;

    std::wstring m_path;
    std::vector<std::size_t> m_created; ///< lengths of the path's prefixes that were made
};

/// A file that is being written: under its own name when that was free, under a temporary name in the same folder when
/// it will replace another. Without Commit nothing is left behind.
class PendingFile {
public:
    PendingFile() = default;
    ~PendingFile() { Discard(); }
    PendingFile(const PendingFile&) = delete;
    PendingFile& operator=(const PendingFile&) = delete;

    /// Creates the target itself, which must not exist yet. On failure the last error tells why.
    bool CreateNew(const std::wstring& target, DWORD attributes);
    /// Creates a file beside the target that takes its place on Commit.
    bool CreateBeside(const std::wstring& target, DWORD attributes);

    HANDLE Handle() const noexcept { return m_file.Get(); }
    /// Appends at the handle's position.
    bool Write(const void* data, std::size_t size) noexcept;
    /// Closes the file and gives it its name.
    /// @param replaceReadOnly  take a read-only file's place, too
    bool Commit(bool replaceReadOnly = false) noexcept;
    /// Closes and removes the file.
    void Discard() noexcept;

private:
    void Remove() noexcept;

    UniqueFileHandle m_file;
    std::wstring m_path; ///< where the file stands now
    std::wstring m_target;
};

/// Some 1 GiB: what one call of ReadFile, WriteFile or the compression takes.
inline constexpr std::size_t maxPiece = std::size_t{1} << 30;

} // namespace tarnu::support

#endif // TARNU_ARCHIVE_ZIPFILESINTERNAL_H
