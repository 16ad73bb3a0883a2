#include "tarnu/files/LinkInternal.h"

#include "tarnu/support/Owners.h"

#include <cstddef>
#include <cstring>
#include <string>
#include <vector>
#include <winioctl.h>

namespace tarnu::support {

namespace {

/// What every reparse point's data begins with, and a symbolic link's behind that (the driver kit's
/// REPARSE_DATA_BUFFER). Offsets and lengths are in bytes, from the end of the structure.
struct ReparseHeader {
    ULONG tag;
    USHORT dataLength;
    USHORT reserved;
};
struct SymbolicLinkHeader {
    ReparseHeader common;
    USHORT substituteOffset;
    USHORT substituteLength;
    USHORT printOffset;
    USHORT printLength;
    ULONG flags; ///< 1: the target is relative
};
static_assert(sizeof(ReparseHeader) == 8 && sizeof(SymbolicLinkHeader) == 20);

constexpr std::size_t maximumReparseSize = std::size_t{16} << 10;

UniqueFileHandle OpenLink(const wchar_t* path, DWORD access) noexcept {
    return UniqueFileHandle(::CreateFileW(path, access, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                                          OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS | FILE_FLAG_OPEN_REPARSE_POINT,
                                          nullptr));
}

/// The reparse data of a link; empty, with the last error set, when it can't be read.
std::vector<std::byte> ReadReparseData(const wchar_t* path) {
    const UniqueFileHandle link = OpenLink(path, FILE_READ_ATTRIBUTES);
    if (!link) return {};
    std::vector<std::byte> data(maximumReparseSize);
    DWORD size = 0;
    if (!::DeviceIoControl(link.Get(), FSCTL_GET_REPARSE_POINT, nullptr, 0, data.data(),
                           static_cast<DWORD>(data.size()), &size, nullptr)) {
        return {};
    }
    data.resize(size);
    if (size < sizeof(ReparseHeader)) {
        ::SetLastError(ERROR_INVALID_REPARSE_DATA);
        return {};
    }
    return data;
}

bool RemoveEntry(const wchar_t* path, DWORD attributes) noexcept {
    return ((attributes & FILE_ATTRIBUTE_DIRECTORY) != 0 ? ::RemoveDirectoryW(path) : ::DeleteFileW(path)) != FALSE;
}

/// The target of a symbolic link as CreateSymbolicLinkW takes it; empty for malformed data.
std::wstring TargetOf(const std::vector<std::byte>& data) {
    if (data.size() < sizeof(SymbolicLinkHeader)) return {};
    SymbolicLinkHeader header;
    std::memcpy(&header, data.data(), sizeof(header));
    // The print name is what the user gave; it may be missing.
    const bool hasPrintName = header.printLength != 0;
    const std::size_t offset = sizeof(header) + (hasPrintName ? header.printOffset : header.substituteOffset);
    const std::size_t length = hasPrintName ? header.printLength : header.substituteLength;
    if (offset + length > data.size()) return {};
    std::wstring target(length / sizeof(wchar_t), L'\0');
    std::memcpy(target.data(), data.data() + offset, target.size() * sizeof(wchar_t));
    if (!hasPrintName && target.starts_with(L"\\??\\")) target[1] = L'\\';
    return target;
}

bool MakeSymbolicLink(const wchar_t* path, const std::wstring& target, DWORD attributes) noexcept {
    if (target.empty()) {
        ::SetLastError(ERROR_INVALID_REPARSE_DATA);
        return false;
    }
    constexpr DWORD allowUnprivileged = 0x2; // SYMBOLIC_LINK_FLAG_ALLOW_UNPRIVILEGED_CREATE, newer than some systems
    const DWORD kind = (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0 ? SYMBOLIC_LINK_FLAG_DIRECTORY : 0;
    if (::CreateSymbolicLinkW(path, target.c_str(), kind | allowUnprivileged)) return true;
    return ::GetLastError() == ERROR_INVALID_PARAMETER && ::CreateSymbolicLinkW(path, target.c_str(), kind);
}

/// Turns a new, empty directory or file into a link.
bool MakeReparsePoint(const wchar_t* path, const std::vector<std::byte>& data, DWORD attributes) {
    const bool isDirectory = (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
    if (isDirectory) {
        if (!::CreateDirectoryW(path, nullptr)) return false;
    } else {
        const UniqueFileHandle file(
            ::CreateFileW(path, GENERIC_WRITE, /*dwShareMode=*/0, nullptr, CREATE_NEW, FILE_ATTRIBUTE_NORMAL, nullptr));
        if (!file) return false;
    }
    {
        const UniqueFileHandle link = OpenLink(path, GENERIC_WRITE);
        std::vector<std::byte> input(data);
        DWORD unused = 0;
        if (link && ::DeviceIoControl(link.Get(), FSCTL_SET_REPARSE_POINT, input.data(),
                                      static_cast<DWORD>(input.size()), nullptr, 0, &unused, nullptr)) {
            return true;
        }
    }
    const LastErrorKeeper keeper;
    RemoveEntry(path, attributes);
    return false;
}

} // namespace

bool IsLink(DWORD attributes, DWORD tag) noexcept {
    constexpr DWORD nameSurrogate = 0x20000000; // IsReparseTagNameSurrogate
    // Wine shows links to directories without a tag, and links to files as the files.
    return (attributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0 && (tag == 0 || (tag & nameSurrogate) != 0);
}

bool CopyLink(const wchar_t* source, DWORD attributes, const wchar_t* destination) {
    const std::vector<std::byte> data = ReadReparseData(source);
    if (data.empty()) return false;
    ReparseHeader header;
    std::memcpy(&header, data.data(), sizeof(header));
    // Writing a symbolic link's data takes a privilege that making one may not.
    return header.tag == IO_REPARSE_TAG_SYMLINK ? MakeSymbolicLink(destination, TargetOf(data), attributes)
                                                : MakeReparsePoint(destination, data, attributes);
}

bool RemoveLink(const wchar_t* path, DWORD attributes) {
    // Wine would remove what its links lead to instead; it can't read them as links either.
    return !ReadReparseData(path).empty() && RemoveEntry(path, attributes);
}

} // namespace tarnu::support
