#include "tarnu/filesystem/LinkGuardInternal.h"

#include "tarnu/support/ExtendedPath.h"
#include "tarnu/support/Owners.h"

#include <optional>
#include <tuple>

namespace tarnu::support {
namespace {

/// Volume and file number: the same for two paths exactly when they lead to the same directory.
using Identity = std::tuple<DWORD, DWORD, DWORD>;

std::optional<Identity> IdentityOf(const wchar_t* directory) {
    const UniqueFileHandle handle(::CreateFileW(SystemPath(directory).Get(), /*dwDesiredAccess=*/0,
                                                FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                                                OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr));
    BY_HANDLE_FILE_INFORMATION information;
    if (!handle || !::GetFileInformationByHandle(handle.Get(), &information)) return std::nullopt;
    return Identity(information.dwVolumeSerialNumber, information.nFileIndexHigh, information.nFileIndexLow);
}

} // namespace

bool LeadsToAncestor(const OrvaBasicFileMatcher& matcher) {
    if ((matcher.GetFindData()->dwFileAttributes & FILE_ATTRIBUTE_REPARSE_POINT) == 0) return false;
    OrvaPath directory;
    matcher.GetPath(directory);
    const std::optional<Identity> target = IdentityOf(directory);
    if (!target) return false; // it can't be listed either
    std::wstring ancestor = FullPath(directory);
    for (;;) {
        const std::size_t separator = ancestor.rfind(L'\\');
        if (separator == std::wstring::npos || separator < 2) return false;
        ancestor.resize(separator);
        const bool isDrive = ancestor.back() == L':'; // which alone would mean the drive's current directory
        if (IdentityOf((isDrive ? ancestor + L'\\' : ancestor).c_str()) == target) return true;
        if (isDrive) return false;
    }
}

} // namespace tarnu::support
