#include "tarnu/files/OrvaFileOperations.h"

#include "tarnu/files/DirectoryMakerInternal.h"
#include "tarnu/files/ErrorFlagInternal.h"
#include "tarnu/files/PathFactsInternal.h"
#include "tarnu/support/Owners.h"

using tarnu::support::DirectoryMaker;
using tarnu::support::Failed;
using tarnu::support::FlagOf;
using tarnu::support::IsBlank;
using tarnu::support::IsTooLong;

int OrvaCreateDirectoryPath(const wchar_t* path) {
    if (IsBlank(path)) return Failed(ERROR_INVALID_NAME);
    return FlagOf([path] { return DirectoryMaker().Make(path); });
}

int OrvaCopyFile(const wchar_t* source, const wchar_t* destination, int failIfExists) {
    if (IsBlank(source) || IsBlank(destination)) return Failed(ERROR_INVALID_NAME);
    if (IsTooLong(source) || IsTooLong(destination)) return Failed(ERROR_FILENAME_EXCED_RANGE);
    return ::CopyFileW(source, destination, failIfExists) ? 0 : 1;
}

int OrvaDeleteFile(const wchar_t* path) {
    if (IsBlank(path)) return Failed(ERROR_INVALID_NAME);
    if (IsTooLong(path)) return Failed(ERROR_FILENAME_EXCED_RANGE);
    // Most files can be deleted as they are: their attributes are not asked for.
    if (::DeleteFileW(path)) return 0;
    const DWORD error = ::GetLastError();
    const DWORD attributes = ::GetFileAttributesW(path);
    const bool isReadOnly = attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_READONLY) != 0;
    if (isReadOnly && ::SetFileAttributesW(path, attributes & ~DWORD{FILE_ATTRIBUTE_READONLY})) {
        if (::DeleteFileW(path)) return 0;
    } else {
        ::SetLastError(error);
    }
    // One expects a restore of attributes that were read; they are set even when they could not be. Hosts rely on a
    // failed delete always having tried to put the file back as it was.
    const tarnu::support::LastErrorKeeper keeper;
    ::SetFileAttributesW(path, attributes);
    return 1;
}
