/// @file
/// One registration with the file event server.
#ifndef TARNU_FILESYSTEM_FILERECORDINTERNAL_H
#define TARNU_FILESYSTEM_FILERECORDINTERNAL_H

#include "tarnu/filesystem/OrvaFileEventMessages.h"
#include "tarnu/paths/OrvaPath.h"

#include <atomic>
#include <list>

namespace tarnu {

struct DirectoryWatch;
struct FileRecord;

/// What the host's full queue has refused. It waits in a place of its record's own: to wait takes no memory.
struct UnpostedMessage {
    FileRecord* record;
    UINT message;
    WPARAM wParam = 0;
    bool isWaiting = false;
    UnpostedMessage* next = nullptr;
};

/// Made by the host; the worker's from WM_REGISTER_FILE on; the host's again when WM_UNREGISTER_FILE has come back,
/// behind the last message that carries this address. Only then is its memory used again.
struct FileRecord {
    FileRecord(const wchar_t* filePath, DWORD changeFilter) : path(filePath), filter(changeFilter) {}
    FileRecord(const FileRecord&) = delete;
    FileRecord& operator=(const FileRecord&) = delete;

    const OrvaPath path;
    WIN32_FILE_ATTRIBUTE_DATA snapshot{};
    HANDLE watchHandle = nullptr; ///< of the watch that covers the file; null when there is none, or none any more
    const DWORD filter;           ///< FILE_NOTIFY_CHANGE_* bits

    std::atomic<bool> isReturned = false; ///< the worker is done with the record

    // The worker's notes

    DirectoryWatch* watch = nullptr;           ///< null when the registration failed
    std::list<FileRecord*>::iterator position; ///< in the watch's list
    bool skipsPendingCheck = false;            ///< registered after the signal that the check is for
    unsigned failedLooks = 0;                  ///< in a row, at a file that is not known to be gone
    UnpostedMessage unpostedChange{this, WM_FILE_NOTIFY};
    UnpostedMessage unpostedError{this, WM_REPORT_ERROR};
    UnpostedMessage unpostedReturn{this, WM_UNREGISTER_FILE};
};

} // namespace tarnu

#endif // TARNU_FILESYSTEM_FILERECORDINTERNAL_H
