/// @file
/// One registration with the file event server.
#ifndef TARNU_FILESYSTEM_FILERECORDINTERNAL_H
#define TARNU_FILESYSTEM_FILERECORDINTERNAL_H

#include "tarnu/paths/OrvaPath.h"

#include <atomic>
#include <list>

namespace tarnu {

struct DirectoryWatch;

/// Made by the host; the worker's from WM_REGISTER_FILE on; the host's again when WM_UNREGISTER_FILE has come back,
/// behind the last message that carries this address. Only then is its memory used again.
struct FileRecord {
    FileRecord(const wchar_t* filePath, DWORD changeFilter) : path(filePath), filter(changeFilter) {}

    const OrvaPath path;
    WIN32_FILE_ATTRIBUTE_DATA snapshot{};
    HANDLE watchHandle = nullptr; ///< of the watch that covers the file; null when there is none, or none any more
    const DWORD filter;           ///< FILE_NOTIFY_CHANGE_* bits

    std::atomic<bool> isReturned = false; ///< the worker is done with the record

    // The worker's notes

    DirectoryWatch* watch = nullptr;           ///< null when the registration failed
    std::list<FileRecord*>::iterator position; ///< in the watch's list
    bool skipsPendingCheck = false;            ///< registered after the signal that the check is for
    DWORD unpostedMask = 0;                    ///< changes that wait in the backlog
    unsigned failedLooks = 0;                  ///< in a row, at a file that is not known to be gone
};

} // namespace tarnu

#endif // TARNU_FILESYSTEM_FILERECORDINTERNAL_H
