#include "tarnu/archive/ZipFilesInternal.h"

#include <algorithm>
#include <atomic>

namespace tarnu::support {
namespace {

bool IsFolder(const wchar_t* path) noexcept {
    const DWORD attributes = ::GetFileAttributesW(path);
    return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
}

/// Where the first folder of an absolute path begins: behind the drive, or server and share.
std::size_t RootLength(std::wstring_view path) noexcept {
    const auto skip = [path](std::size_t at) { return std::min(path.find_first_of(L"\\/", at), path.size() - 1) + 1; };
    if (path.starts_with(extendedSharePrefix)) return skip(skip(extendedSharePrefix.size()));
    if (path.starts_with(extendedPrefix) || path.starts_with(LR"(\\.\)")) return skip(4);
    if (path.size() > 2 && IsSeparator(path[0]) && IsSeparator(path[1])) return skip(skip(2));
    return skip(0);
}

} // namespace

// FolderMaker

bool FolderMaker::Make(const std::wstring& folder) {
    m_created.clear();
    m_path = AbsoluteSystemPath(folder.c_str());
    while (!m_path.empty() && IsSeparator(m_path.back()))
        m_path.pop_back();
    if (m_path.empty()) return false;
    std::vector<std::size_t> ends; // of the folders in the path
    for (std::size_t at = RootLength(m_path); at < m_path.size(); ++at) {
        if (IsSeparator(m_path[at])) ends.push_back(at);
    }
    ends.push_back(m_path.size());

    // Outwards, in steps that grow, to a folder that exists or can be created: in the common case that is the first one
    // tried, and a path of thousands of folders costs few attempts.
    const auto create = [](const wchar_t* path) { return ::CreateDirectoryW(path, nullptr) != FALSE; };
    std::size_t level = ends.size() - 1;
    for (std::size_t step = 1;; step *= 2) {
        if (OnPrefix(ends[level], create)) {
            m_created.push_back(ends[level]);
            break;
        }
        const DWORD error = ::GetLastError();
        if (error == ERROR_PATH_NOT_FOUND && level > 0) {
            level -= std::min(step, level);
            continue;
        }
        // It exists already, or a drive's root answered with a refusal.
        if (!OnPrefix(ends[level], IsFolder)) {
            ::SetLastError(error);
            return false;
        }
        break;
    }
    // Inwards again.
    for (++level; level < ends.size(); ++level) {
        if (OnPrefix(ends[level], create)) {
            m_created.push_back(ends[level]);
        } else if (const DWORD error = ::GetLastError(); !OnPrefix(ends[level], IsFolder)) {
            ::SetLastError(error);
            return false;
        }
    }
    return true;
}

void FolderMaker::Undo() noexcept {
    const LastErrorKeeper keeper;
    for (; !m_created.empty(); m_created.pop_back())
        OnPrefix(m_created.back(), [](const wchar_t* path) { return ::RemoveDirectoryW(path) != FALSE; });
}

template <class Operation>
bool FolderMaker::OnPrefix(std::size_t length, Operation operation) noexcept {
    const wchar_t following = m_path[length];
    m_path[length] = L'\0';
    const bool result = operation(m_path.c_str());
    m_path[length] = following;
    return result;
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
