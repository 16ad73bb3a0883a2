#include "tarnu/filesystem/OrvaBasicFileMatcher.h"

#include "tarnu/filesystem/FileListingInternal.h"
#include "tarnu/filesystem/WalkErrorInternal.h"
#include "tarnu/support/ExtendedPath.h"
#include "tarnu/support/Owners.h"

#include <cwchar>

using tarnu::support::UniqueFindHandle;

namespace {

constexpr DWORD directoriesOnly = 0x10;
constexpr DWORD visibleDirectoriesOnly = 0x2090;

bool IsDots(const wchar_t* name) noexcept {
    return name[0] == L'.' && (name[1] == L'\0' || (name[1] == L'.' && name[2] == L'\0'));
}

/// How long the part behind the last separator is; the separators are backslashes.
std::size_t LastComponentLength(const wchar_t* path) noexcept {
    const wchar_t* const separator = std::wcsrchr(path, L'\\');
    return std::wcslen(separator != nullptr ? separator + 1 : path);
}

/// The last error after a search that found nothing (more); 0 when that is no failure.
DWORD SearchError() noexcept {
    const DWORD error = ::GetLastError();
    const bool isEnd = error == ERROR_NO_MORE_FILES || error == ERROR_FILE_NOT_FOUND || error == ERROR_PATH_NOT_FOUND;
    return isEnd ? DWORD{ERROR_SUCCESS} : error;
}

} // namespace

OrvaBasicFileMatcher::OrvaBasicFileMatcher() = default;

OrvaBasicFileMatcher::~OrvaBasicFileMatcher() {
    OrvaBasicFileMatcher::Close();
}

void OrvaBasicFileMatcher::Close() {
    m_directory = OrvaPath();
    m_pattern = OrvaPath();
    m_attributeFilter = 0;
    m_isFound = FALSE;
    m_error = ERROR_SUCCESS;
    const UniqueFindHandle find(m_find); // closes it
    m_find = INVALID_HANDLE_VALUE;
    m_source = nullptr;
}

void OrvaBasicFileMatcher::Open(const wchar_t* directory, const wchar_t* pattern, DWORD attributeFilter) {
    const OrvaPath newDirectory(directory); // copies first: the texts may be this matcher's own
    const OrvaPath newPattern(pattern);
    Close();
    m_directory = newDirectory;
    m_pattern = newPattern;
    m_attributeFilter = attributeFilter;
    if (m_kept != nullptr) m_kept->Begin();

    const OrvaPath search = m_directory / m_pattern;
    // Only directories are wanted, unless the files that come along are kept.
    const bool isLimited =
        m_kept == nullptr && (attributeFilter == directoriesOnly || attributeFilter == visibleDirectoriesOnly);
    const tarnu::support::SystemPath systemSearch(search, LastComponentLength(search));
    m_find = ::FindFirstFileExW(systemSearch.Get(), FindExInfoStandard, &m_findData,
                                isLimited ? FindExSearchLimitToDirectories : FindExSearchNameMatch,
                                /*lpSearchFilter=*/nullptr, /*dwAdditionalFlags=*/0);
    if (m_find != INVALID_HANDLE_VALUE) {
        Examine(TRUE);
    } else {
        m_error = SearchError();
    }
}

void OrvaBasicFileMatcher::Next() {
    m_isFound = FALSE;
    if (m_source != nullptr) m_isFound = m_source->Take(m_findData);
    if (m_find != INVALID_HANDLE_VALUE) Examine(::FindNextFileW(m_find, &m_findData));
}

/// Stops on the first entry that passes, from the one just read on.
void OrvaBasicFileMatcher::Examine(BOOL hasEntry) {
    for (; hasEntry; hasEntry = ::FindNextFileW(m_find, &m_findData)) {
        if (m_skipDots != 0 && IsDots(m_findData.cFileName)) continue;
        if (m_kept != nullptr) m_kept->Offer(m_findData);
        if (OrvaMatchFileAttributes(m_attributeFilter, m_findData.dwFileAttributes)) {
            m_isFound = TRUE;
            return;
        }
    }
    tarnu::support::WalkError::Keep(m_error, SearchError());
}

BOOL OrvaBasicFileMatcher::IsFound() const {
    return m_isFound;
}

OrvaPath& OrvaBasicFileMatcher::GetPath(OrvaPath& path) const {
    path = m_directory;
    if (m_isFound) path.JoinInPlace(m_findData.cFileName);
    return path;
}

OrvaPath& OrvaBasicFileMatcher::GetName(OrvaPath& name) const {
    name = m_isFound ? m_findData.cFileName : L"";
    return name;
}

OrvaPath& OrvaBasicFileMatcher::GetDirectory(OrvaPath& directory) const {
    directory = m_directory;
    return directory;
}

void OrvaBasicFileMatcher::SetSkipDots(DWORD skipDots) {
    m_skipDots = skipDots;
}

DWORD OrvaBasicFileMatcher::GetSkipDots() const {
    return m_skipDots;
}

const WIN32_FIND_DATAW* OrvaBasicFileMatcher::GetFindData() const {
    return &m_findData;
}
