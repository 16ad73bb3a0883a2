#include "tarnu/archive/ZipFilesInternal.h"

#include <algorithm>
#include <atomic>

namespace tarnu::support {
namespace {

constexpr std::size_t longPath = 248; // folders have 12 characters less than files, room for a short name

bool IsSeparator(wchar_t character) noexcept {
    return character == L'\\' || character == L'/';
}

bool IsFolder(const std::wstring& path) noexcept {
    const DWORD attributes = ::GetFileAttributesW(path.c_str());
    return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
}

} // namespace

std::wstring SystemPath(std::wstring_view path) {
    std::wstring text(path);
    const bool prefixed = path.starts_with(LR"(\\?\)") || path.starts_with(LR"(\\.\)");
    const bool absolute = path.size() > 2 &&
                          ((path[1] == L':' && IsSeparator(path[2])) || (IsSeparator(path[0]) && IsSeparator(path[1])));
    if (prefixed || (absolute && text.size() < longPath)) return text;
    // A short relative path may still be a long one, below a long current directory.
    DWORD size = ::GetFullPathNameW(text.c_str(), 0, nullptr, nullptr);
    if (size == 0) return {};
    std::wstring full(size, L'\0');
    const DWORD length = ::GetFullPathNameW(text.c_str(), size, full.data(), nullptr);
    if (length == 0 || length >= size) return {};
    full.resize(length);
    if (length < longPath) return full;
    if (full.starts_with(LR"(\\)")) return LR"(\\?\UNC)" + full.substr(1);
    return LR"(\\?\)" + full;
}

// FolderMaker

bool FolderMaker::Make(std::wstring_view folder) {
    while (!folder.empty() && IsSeparator(folder.back()))
        folder.remove_suffix(1);
    if (folder.empty()) return false;
    std::vector<std::wstring> missing;
    for (;;) {
        std::wstring path = SystemPath(folder);
        if (path.empty()) return false;
        if (::CreateDirectoryW(path.c_str(), nullptr)) {
            m_created.push_back(std::move(path));
            break;
        }
        const DWORD error = ::GetLastError();
        if (error == ERROR_PATH_NOT_FOUND) {
            const std::size_t separator = folder.find_last_of(L"\\/");
            if (separator == std::wstring_view::npos || separator == 0) return false;
            missing.push_back(std::move(path));
            folder = folder.substr(0, separator);
            continue;
        }
        // Another program may have been quicker; a drive's root answers with a refusal.
        if (IsFolder(path) || IsFolder(path + L'\\')) break;
        ::SetLastError(error);
        return false;
    }
    for (; !missing.empty(); missing.pop_back()) {
        if (::CreateDirectoryW(missing.back().c_str(), nullptr)) {
            m_created.push_back(std::move(missing.back()));
        } else if (!IsFolder(missing.back())) {
            return false;
        }
    }
    return true;
}

void FolderMaker::Undo() noexcept {
    const LastErrorKeeper keeper;
    for (; !m_created.empty(); m_created.pop_back())
        ::RemoveDirectoryW(m_created.back().c_str());
}

// PendingFile

bool PendingFile::CreateNew(const std::wstring& target, DWORD attributes) {
    Discard();
    m_path = target;
    m_target.clear();
    m_file.Reset(::CreateFileW(target.c_str(), GENERIC_WRITE, FILE_SHARE_READ, nullptr, CREATE_NEW,
                               attributes == 0 ? FILE_ATTRIBUTE_NORMAL : attributes, nullptr));
    return static_cast<bool>(m_file);
}

bool PendingFile::CreateBeside(const std::wstring& target, DWORD attributes) {
    Discard();
    // A short name of its own: the target's may leave no room for a suffix.
    static std::atomic<unsigned> counter{0};
    const std::size_t separator = target.find_last_of(L"\\/");
    const std::wstring folder = separator == std::wstring::npos ? std::wstring() : target.substr(0, separator + 1);
    m_target = target;
    for (int attempt = 0; attempt < 100; ++attempt) {
        wchar_t name[40];
        ::_snwprintf(name, std::size(name), L"~orv%08lx%04x.tmp", ::GetCurrentProcessId() ^ ::GetTickCount(),
                     ++counter & 0xFFFF);
        m_path = folder + name;
        m_file.Reset(::CreateFileW(m_path.c_str(), GENERIC_WRITE, FILE_SHARE_READ, nullptr, CREATE_NEW,
                                   attributes == 0 ? FILE_ATTRIBUTE_NORMAL : attributes, nullptr));
        if (m_file) return true;
        const DWORD error = ::GetLastError();
        if (error != ERROR_FILE_EXISTS && error != ERROR_ALREADY_EXISTS) return false;
    }
    return false;
}

bool PendingFile::Write(const void* data, std::size_t size) noexcept {
    const auto* bytes = static_cast<const char*>(data);
    while (size > 0) {
        DWORD written = 0;
        const auto count = static_cast<DWORD>(std::min(size, maxPiece));
        if (!::WriteFile(m_file.Get(), bytes, count, &written, nullptr) || written == 0) return false;
        bytes += written;
        size -= written;
    }
    return true;
}

bool PendingFile::Commit(bool replaceReadOnly) noexcept {
    if (!m_file) return false;
    if (m_target.empty()) {
        m_file.Reset();
        return true;
    }
    // The handle is open for sharing reads only: it has to be closed before the file can be moved.
    m_file.Reset();
    if (::MoveFileExW(m_path.c_str(), m_target.c_str(), MOVEFILE_REPLACE_EXISTING)) return true;
    DWORD error = ::GetLastError();
    const DWORD attributes = ::GetFileAttributesW(m_target.c_str());
    if (replaceReadOnly && attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) == 0 &&
        (attributes & FILE_ATTRIBUTE_READONLY) != 0 &&
        ::SetFileAttributesW(m_target.c_str(), attributes & ~DWORD{FILE_ATTRIBUTE_READONLY})) {
        if (::MoveFileExW(m_path.c_str(), m_target.c_str(), MOVEFILE_REPLACE_EXISTING)) return true;
        error = ::GetLastError();
        ::SetFileAttributesW(m_target.c_str(), attributes);
    }
    Remove();
    ::SetLastError(error);
    return false;
}

void PendingFile::Discard() noexcept {
    if (!m_file) return;
    const LastErrorKeeper keeper;
    m_file.Reset();
    Remove();
}

void PendingFile::Remove() noexcept {
    if (::DeleteFileW(m_path.c_str())) return;
    ::SetFileAttributesW(m_path.c_str(), FILE_ATTRIBUTE_NORMAL); // a read-only one can't be deleted
    ::DeleteFileW(m_path.c_str());
}

} // namespace tarnu::support
