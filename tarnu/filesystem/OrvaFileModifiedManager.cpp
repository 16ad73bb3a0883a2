#include "tarnu/filesystem/OrvaFileModifiedManager.h"

CList<OrvaFileModifiedStatus, const OrvaFileModifiedStatus&> OrvaFileModifiedManager::m_statuses;

OrvaFileModifiedManager::OrvaFileModifiedManager() noexcept = default;

OrvaFileModifiedManager::~OrvaFileModifiedManager() = default;

bool OrvaFileModifiedManager::IsFileModified(const wchar_t* path) {
    CFileStatus current;
    if (path == nullptr || !CFile::GetStatus(path, current)) return true;
    const OrvaFileModifiedStatus status(current);

    try {
        const CString name(path);
        for (POSITION position = m_statuses.GetHeadPosition(); position != nullptr;) {
            const POSITION entry = position;
            const OrvaFileModifiedStatus& known = m_statuses.GetNext(position);
            if (name.CompareNoCase(known.m_szFullName) != 0) continue;
            if (known.m_mtime == status.m_mtime) return false;
            m_statuses.RemoveAt(entry);
            break;
        }
        m_statuses.AddTail(status);
    } catch (...) {
        // Out of memory: the file stays unknown, and the next question about it answers true again.
    }
    return true;
}
