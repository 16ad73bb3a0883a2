#include "tarnu/files/DirectoryMakerInternal.h"

namespace tarnu::support {

namespace {

bool IsSeparator(wchar_t character) noexcept {
    return character == L'\\' || character == L'/';
}

bool MakeOne(const wchar_t* directory) noexcept {
    const DWORD attributes = ::GetFileAttributesW(directory);
    if (attributes == INVALID_FILE_ATTRIBUTES) return ::CreateDirectoryW(directory, nullptr) != FALSE;
    return (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
}

} // namespace

int DirectoryMaker::Make(OrvaPath path) {
    path.AddTrailingSeparator(); // the last component is a directory even if it contains a point
    CStringList components;
    path.GetComponents(components);
    OrvaPath joined;
    if (path.GetDrive().IsEmpty() && IsSeparator(path.GetText()[0])) joined = path.GetSeparator();

    int failed = 0;
    for (POSITION position = components.GetHeadPosition(); position != nullptr;) {
        joined.JoinInPlace(components.GetNext(position));
        if (m_known.emplace(static_cast<const wchar_t*>(joined)).second && !MakeOne(joined)) failed = 1;
    }
    return failed;
}

} // namespace tarnu::support
