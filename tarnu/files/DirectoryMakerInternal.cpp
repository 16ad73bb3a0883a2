#include "tarnu/files/DirectoryMakerInternal.h"

#include "tarnu/files/PathFactsInternal.h"

namespace tarnu::support {

namespace {

bool MakeOne(const wchar_t* directory) {
    const DWORD attributes = ::GetFileAttributesW(directory);
    if (attributes == INVALID_FILE_ATTRIBUTES) return ::CreateDirectoryW(directory, nullptr) != FALSE;
    // One expects a file in the place of a directory to fail; it is there and is passed over, and only what would lie
    // below it fails. Hosts rely on ensuring a path without asking whether its last component is a file.
    return (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0 || !IsDevice(FullPath(directory));
}

} // namespace

int DirectoryMaker::Make(OrvaPath path) {
    path.AddTrailingSeparator(); // the last component is a directory even if it contains a point
    CStringList components;
    path.GetComponents(components);
    OrvaPath joined;
    const OrvaPath drive = path.GetDrive();
    const bool isRooted = IsSeparator(path.GetDirectory().GetText()[0]);
    if (drive.IsEmpty()) {
        if (isRooted) joined = path.GetSeparator();
    } else if (!isRooted && !drive.HasTrailingSeparator()) {
        // "C:" and "dir": a join would turn the drive's current directory into its root.
        components.RemoveHead();
        components.SetAt(components.GetHeadPosition(), drive.GetText() + components.GetHead());
    }

    int failed = 0;
    for (POSITION position = components.GetHeadPosition(); position != nullptr;) {
        joined.JoinInPlace(components.GetNext(position));
        if (m_known.emplace(static_cast<const wchar_t*>(joined)).second && !MakeOne(joined)) failed = 1;
    }
    return failed;
}

} // namespace tarnu::support
