/// @file
/// Attribute query by opening the file.
#include "tarnu/paths/OrvaFileAttributes.h"

#include "tarnu/support/Owners.h"

bool OrvaGetFileAttributeData(const wchar_t* path, int infoLevel, OrvaFileAttributeData* data) {
    if (data == nullptr || infoLevel != 0) return false;

    data->dwFileAttributes = ::GetFileAttributesW(path);
    if (data->dwFileAttributes == INVALID_FILE_ATTRIBUTES) return false;

    // One would expect a directory to succeed too; opening it without backup semantics fails, and hosts rely on the
    // false to tell files from directories.
    const tarnu::support::UniqueFileHandle file(::CreateFileW(path, GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE,
                                                              /*lpSecurityAttributes=*/nullptr, OPEN_EXISTING,
                                                              /*dwFlagsAndAttributes=*/0, /*hTemplateFile=*/nullptr));
    if (!file) return false;

    bool complete = ::GetFileTime(file.Get(), &data->ftCreationTime, &data->ftLastAccessTime, &data->ftLastWriteTime);

    // The low half may be 0xFFFFFFFF for a real size; only the last error tells.
    ::SetLastError(NO_ERROR);
    data->nFileSizeLow = ::GetFileSize(file.Get(), &data->nFileSizeHigh);
    if (data->nFileSizeLow == INVALID_FILE_SIZE && ::GetLastError() != NO_ERROR) complete = false;
    return complete;
}
