#include "tarnu/files/ErrorFlagInternal.h"
#include "tarnu/files/OrvaFileOperations.h"
#include "tarnu/files/PathFactsInternal.h"
#include "tarnu/files/ReplacementInternal.h"
#include "tarnu/support/Owners.h"
#include "tarnu/support/RelativePath.h"

#include <algorithm>
#include <shlobj.h>
#include <shlwapi.h>
#include <string>
#include <utility>

namespace {

using tarnu::support::Failed;
using tarnu::support::FlagOf;
using tarnu::support::FullPath;
using tarnu::support::HasWildcards;
using tarnu::support::IsBlank;
using tarnu::support::IsDevice;
using tarnu::support::IsSeparator;
using tarnu::support::Replacement;
using tarnu::support::UniqueFileHandle;
using tarnu::support::UniqueFindHandle;

/// Largest block that is handed to one read or write.
constexpr DWORD blockSize = 1u << 30;

/// Finds an entry as a listing of its directory would.
bool IsListed(const std::wstring& fullPath) {
    if (HasWildcards(fullPath)) return false;
    std::wstring path = tarnu::support::ExtendedPath(fullPath);
    while (!path.empty() && IsSeparator(path.back()))
        path.pop_back();
    WIN32_FIND_DATAW data;
    if (UniqueFindHandle(::FindFirstFileW(path.c_str(), &data))) return true;
    // The root of a drive or share is in no directory and so in no listing.
    return ::PathIsRootW(fullPath.c_str()) && ::GetFileAttributesW(fullPath.c_str()) != INVALID_FILE_ATTRIBUTES;
}

bool WriteAll(HANDLE file, const unsigned char* data, std::size_t size) noexcept {
    while (size > 0) {
        const auto block = static_cast<DWORD>(std::min<std::size_t>(size, blockSize));
        DWORD written = 0;
        if (!::WriteFile(file, data, block, &written, nullptr)) return false;
        if (written == 0) {
            ::SetLastError(ERROR_WRITE_FAULT);
            return false;
        }
        data += written;
        size -= written;
    }
    return true;
}

int Write(const wchar_t* path, const unsigned char* data, std::size_t size) {
    std::wstring target = FullPath(path);
    if (target.empty()) return 1;
    if (IsDevice(target) || IsSeparator(target.back())) return Failed(ERROR_INVALID_NAME);
    DWORD attributes = ::GetFileAttributesW(target.c_str());
    if (attributes == INVALID_FILE_ATTRIBUTES) attributes = 0;
    // Wine renames over a read-only file, Windows does not.
    if ((attributes & (FILE_ATTRIBUTE_READONLY | FILE_ATTRIBUTE_DIRECTORY)) != 0) return Failed(ERROR_ACCESS_DENIED);

    Replacement replacement(std::move(target));
    UniqueFileHandle file;
    const bool made = replacement.Make([&file, attributes](const wchar_t* name) {
        constexpr DWORD kept = FILE_ATTRIBUTE_HIDDEN | FILE_ATTRIBUTE_SYSTEM | FILE_ATTRIBUTE_NOT_CONTENT_INDEXED;
        file.Reset(::CreateFileW(name, GENERIC_WRITE, /*dwShareMode=*/0, nullptr, CREATE_NEW,
                                 FILE_ATTRIBUTE_ARCHIVE | (attributes & kept), nullptr));
        return static_cast<bool>(file);
    });
    // The contents must be on the disk before the name is: otherwise a power failure could leave an empty file.
    const bool written = made && WriteAll(file.Get(), data, size) && ::FlushFileBuffers(file.Get());
    file.Reset();
    return written && replacement.TakePlace(/*throughCache=*/false) ? 0 : 1;
}

int Read(const wchar_t* path, std::vector<unsigned char>& contents) {
    const std::wstring source = FullPath(path);
    if (source.empty()) return 1;
    if (IsDevice(source)) return Failed(ERROR_INVALID_NAME);
    const UniqueFileHandle file(::CreateFileW(source.c_str(), GENERIC_READ,
                                              FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                                              OPEN_EXISTING, FILE_FLAG_SEQUENTIAL_SCAN, nullptr));
    if (!file) return 1;
    LARGE_INTEGER size;
    if (!::GetFileSizeEx(file.Get(), &size)) return 1;
    if (static_cast<ULONGLONG>(size.QuadPart) >= contents.max_size()) return Failed(ERROR_NOT_ENOUGH_MEMORY);

    // A byte more than the file has now: the read that finds its end needs no second round, and a file that grows
    // meanwhile is read on.
    std::vector<unsigned char> bytes(static_cast<std::size_t>(size.QuadPart) + 1);
    std::size_t used = 0;
    for (;;) {
        if (used == bytes.size()) bytes.resize(bytes.size() + bytes.size() / 2 + 4096);
        const auto block = static_cast<DWORD>(std::min<std::size_t>(bytes.size() - used, blockSize));
        DWORD read = 0;
        if (!::ReadFile(file.Get(), bytes.data() + used, block, &read, nullptr)) return 1;
        if (read == 0) break;
        used += read;
    }
    bytes.resize(used);
    contents = std::move(bytes);
    return 0;
}

bool GetRelative(const wchar_t* directory, const wchar_t* path, CString& relative) {
    std::wstring from = FullPath(directory);
    std::wstring to = FullPath(path);
    for (std::wstring* text : {&from, &to}) {
        while (text->size() > 3 && text->back() == L'\\')
            text->pop_back();
    }
    tarnu::support::RelativePathBuffer answer;
    if (from.empty() || to.empty() ||
        !tarnu::support::FindRelativePath(answer, from.c_str(), to.c_str(), FILE_ATTRIBUTE_DIRECTORY)) {
        return false;
    }
    // From a root the answer is `\x`, and a path against itself may be empty, `\` or `.\`.
    std::wstring text(answer);
    while (!text.empty() && text.back() == L'\\')
        text.pop_back();
    if (text.empty() || text.front() != L'.') text.insert(0, text.empty() || text.front() == L'\\' ? L"." : L".\\");
    if (text.size() >= MAX_PATH) return false;
    relative = text.c_str();
    return true;
}

} // namespace

bool OrvaFileExists(const wchar_t* path) {
    if (IsBlank(path)) return false;
    try {
        const std::wstring fullPath = FullPath(path);
        return !fullPath.empty() && !IsDevice(fullPath) && IsListed(fullPath);
    } catch (...) {
        return false;
    }
}

int OrvaEnsureDirectory(const wchar_t* path) {
    if (IsBlank(path)) return Failed(ERROR_INVALID_NAME);
    return FlagOf([path] {
        const std::wstring fullPath = FullPath(path);
        if (fullPath.empty()) return 1;
        if (IsDevice(fullPath)) return Failed(ERROR_INVALID_NAME);
        constexpr std::size_t limit = MAX_PATH - 12; // a directory leaves room for a short name; Wine cuts longer ones
        if (fullPath.size() >= limit) return Failed(ERROR_FILENAME_EXCED_RANGE);
        const int error = ::SHCreateDirectoryExW(/*hwnd=*/nullptr, fullPath.c_str(), nullptr);
        if (error == ERROR_SUCCESS) return 0;
        const DWORD attributes = ::GetFileAttributesW(fullPath.c_str());
        const bool exists = attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
        return exists ? 0 : Failed(static_cast<DWORD>(error));
    });
}

int OrvaWriteFile(const wchar_t* path, const void* data, std::size_t size) {
    if (IsBlank(path)) return Failed(ERROR_INVALID_NAME);
    if (data == nullptr && size > 0) return Failed(ERROR_INVALID_PARAMETER);
    return FlagOf([&] { return Write(path, static_cast<const unsigned char*>(data), size); });
}

int OrvaReadFile(const wchar_t* path, std::vector<unsigned char>& contents) {
    if (IsBlank(path)) return Failed(ERROR_INVALID_NAME);
    return FlagOf([&] { return Read(path, contents); });
}

bool OrvaGetRelativePath(const wchar_t* directory, const wchar_t* path, CString& relative) {
    if (IsBlank(directory) || IsBlank(path)) return false;
    try {
        return GetRelative(directory, path, relative);
    } catch (...) {
        return false;
    }
}
