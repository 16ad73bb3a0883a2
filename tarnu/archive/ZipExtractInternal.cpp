#include "tarnu/archive/ZipExtractInternal.h"

#include "tarnu/archive/ZipFilesInternal.h"

#include <cstdint>
#include <memory>
#include <new>

namespace tarnu::support {
namespace {

/// Entries up to this size are held in memory until they are verified; larger ones in a file beside the target.
constexpr ULONGLONG maxInMemory = ULONGLONG{256} << 20;
constexpr std::size_t pieceSize = std::size_t{1} << 20;

const FILETIME* TimeOrNull(const FILETIME& time) noexcept {
    return time.dwLowDateTime == 0 && time.dwHighDateTime == 0 ? nullptr : &time;
}

void RestoreTimes(HANDLE handle, const OrvaZipEntry& entry) noexcept {
    ::SetFileTime(handle, TimeOrNull(entry.creation), TimeOrNull(entry.lastAccess), TimeOrNull(entry.lastWrite));
}

/// One extraction: the target is created (or a file beside it), filled, and committed; otherwise everything that was
/// made for it goes away again.
class Extraction {
public:
    Extraction(const OrvaZipEntry& entry, const std::wstring& target, const OrvaZipOverwrite& overwrite) noexcept
        : m_entry(entry)
        , m_target(target)
        , m_overwrite(overwrite)
        , m_attributes(entry.attributes & ~DWORD{FILE_ATTRIBUTE_DIRECTORY}) {}
    ~Extraction() {
        if (m_done) return;
        m_file.Discard();
        m_folders.Undo();
    }
    Extraction(const Extraction&) = delete;
    Extraction& operator=(const Extraction&) = delete;

    /// Data that is verified. An unused name is taken directly: no call asks for what creating the file tells.
    OrvaZipResult Write(const void* data, std::size_t size) {
        if (!Create([this] { return m_file.CreateNew(m_target, m_attributes); })) {
            const OrvaZipResult result = JudgeExisting();
            if (result != OrvaZipSuccess) return result;
            if (m_existing.cFileName[0] == L'\0') return OrvaZipNoFile; // nothing in the way: the name was refused
            m_overwrite(m_target.c_str(), m_existing);
            if (!m_file.CreateBeside(m_target, m_attributes)) return OrvaZipNoFile;
        }
        return m_file.Write(data, size) ? Finish() : OrvaZipWriteFailed;
    }

    /// Data that is verified when the last piece has been written.
    OrvaZipResult Stream(OrvaZipReader& reader) {
        OrvaZipResult result = JudgeExisting();
        if (result != OrvaZipSuccess) return result;
        const std::unique_ptr<std::uint8_t[]> piece(new std::uint8_t[pieceSize]);
        if (!Create([this] { return m_file.CreateBeside(m_target, m_attributes); })) return OrvaZipNoFile;
        do {
            std::size_t count = 0;
            result = reader.ReadEntry(piece.get(), pieceSize, count);
            if (result != OrvaZipMore && result != OrvaZipSuccess) return result;
            if (!m_file.Write(piece.get(), count)) return OrvaZipWriteFailed;
        } while (result == OrvaZipMore);
        result = JudgeExisting(); // again: this took its time
        if (result != OrvaZipSuccess) return result;
        if (m_existing.cFileName[0] != L'\0') m_overwrite(m_target.c_str(), m_existing);
        return Finish();
    }

private:
    /// Tries once more when a missing folder was the reason.
    template <class Attempt>
    bool Create(Attempt attempt) {
        if (attempt()) return true;
        if (::GetLastError() != ERROR_PATH_NOT_FOUND) return false;
        const std::size_t separator = m_target.find_last_of(L"\\/");
        return separator != std::wstring::npos && m_folders.Make(m_target.substr(0, separator)) && attempt();
    }

    /// Success when nothing is in the way, or a file that may be replaced: m_existing then describes it.
    OrvaZipResult JudgeExisting() noexcept {
        m_existing.cFileName[0] = L'\0';
        const UniqueFindHandle find(::FindFirstFileExW(m_target.c_str(), FindExInfoBasic, &m_existing,
                                                       FindExSearchNameMatch, nullptr, /*flags=*/0));
        if (!find) return OrvaZipSuccess;
        if ((m_existing.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0) return OrvaZipNoFile;
        return m_overwrite ? OrvaZipSuccess : leftAlone;
    }

    OrvaZipResult Finish() noexcept {
        RestoreTimes(m_file.Handle(), m_entry);
        m_done = m_file.Commit(/*replaceReadOnly=*/true);
        return m_done ? OrvaZipSuccess : OrvaZipNoFile;
    }

    const OrvaZipEntry& m_entry;
    const std::wstring& m_target;
    const OrvaZipOverwrite& m_overwrite;
    DWORD m_attributes;
    WIN32_FIND_DATAW m_existing{};
    FolderMaker m_folders;
    PendingFile m_file;
    bool m_done = false;
};

} // namespace

OrvaZipResult ExtractFile(OrvaZipReader& reader, ULONGLONG index, const OrvaZipEntry& entry, const std::wstring& target,
                          const OrvaZipOverwrite& overwrite, BlockBuffer& kept) {
    // Opening the entry finds out whether the archive can justify its size.
    OrvaZipResult result = reader.OpenEntry(index);
    if (result != OrvaZipSuccess) return result;
    Extraction extraction(entry, target, overwrite);
    if (entry.size > maxInMemory) return extraction.Stream(reader);
    const auto size = static_cast<std::size_t>(entry.size);
    // Fresh memory costs about a tenth of the decoding: a buffer of moderate size serves one entry after the other.
    std::unique_ptr<std::uint8_t[]> large(size > maxBlock ? new (std::nothrow) std::uint8_t[size] : nullptr);
    std::uint8_t* const buffer = size > maxBlock ? large.get() : kept.Get(size);
    if (buffer == nullptr) return OrvaZipNoMemory;
    std::size_t read = 0;
    result = reader.ReadEntry(buffer, size, read);
    return result == OrvaZipSuccess ? extraction.Write(buffer, size) : result;
}

OrvaZipResult ExtractDirectory(const OrvaZipEntry& entry, const std::wstring& target) {
    FolderMaker folders;
    if (!folders.Make(target)) {
        folders.Undo();
        return OrvaZipNoFile;
    }
    const UniqueFileHandle folder(::CreateFileW(target.c_str(), FILE_WRITE_ATTRIBUTES,
                                                FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                                                OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr));
    if (folder) RestoreTimes(folder.Get(), entry);
    // Read-only does not protect a directory but marks a customised one, and "archive" says nothing about it.
    const DWORD attributes = entry.attributes & (FILE_ATTRIBUTE_HIDDEN | FILE_ATTRIBUTE_SYSTEM);
    if (attributes != 0) ::SetFileAttributesW(target.c_str(), attributes);
    return OrvaZipSuccess;
}

} // namespace tarnu::support
