/// @file
/// The entries of one directory, kept for a second reader.
#ifndef TARNU_FILESYSTEM_FILELISTINGINTERNAL_H
#define TARNU_FILESYSTEM_FILELISTINGINTERNAL_H

#include "tarnu/filesystem/OrvaFileMatch.h"

#include <cstddef>
#include <cstring>
#include <cwchar>
#include <vector>

namespace tarnu::support {

/// What a directory tree has seen of its current directory while it looked for subdirectories, so that a file tree need
/// not list the directory again: the entries that pass the file tree's filter, in the order of the listing. A record
/// takes some 50 bytes and the name instead of the system's 592 bytes.
class FileListing {
public:
    explicit FileListing(DWORD attributeFilter) : m_attributeFilter(attributeFilter) {}

    // The side that lists

    /// A new directory's listing begins.
    void Begin() noexcept {
        m_records.clear();
        m_next = 0;
        m_isCurrent = true;
    }
    /// The directory that is listed, or goes on to be, is not the tree's current one.
    void Drop() noexcept {
        Begin();
        m_isCurrent = false;
    }
    void Offer(const WIN32_FIND_DATAW& data) {
        if (!m_isCurrent || !OrvaMatchFileAttributes(m_attributeFilter, data.dwFileAttributes)) return;
        Append(&data, headSize);
        AppendText(data.cFileName);
        AppendText(data.cAlternateFileName);
    }

    // The side that reads

    /// True when this is the listing of the tree's current directory.
    bool IsCurrent() const noexcept { return m_isCurrent; }
    /// Hands out the next entry; false at the end.
    bool Take(WIN32_FIND_DATAW& data) noexcept {
        if (m_next == m_records.size()) return false;
        std::memcpy(&data, &m_records[m_next], headSize);
        m_next += headSize;
        TakeText(data.cFileName);
        TakeText(data.cAlternateFileName);
        return true;
    }

private:
    static constexpr std::size_t headSize = offsetof(WIN32_FIND_DATAW, cFileName);

    void Append(const void* bytes, std::size_t size) {
        const auto* first = static_cast<const std::byte*>(bytes);
        m_records.insert(m_records.end(), first, first + size);
    }
    void AppendText(const wchar_t* text) { Append(text, (std::wcslen(text) + 1) * sizeof(wchar_t)); }
    void TakeText(wchar_t* text) noexcept {
        do {
            std::memcpy(text, &m_records[m_next], sizeof(wchar_t));
            m_next += sizeof(wchar_t);
        } while (*text++ != L'\0');
    }

    DWORD m_attributeFilter;
    std::vector<std::byte> m_records; ///< fixed part, name and short name with their terminators
    std::size_t m_next = 0;
    bool m_isCurrent = false;
};

} // namespace tarnu::support

#endif // TARNU_FILESYSTEM_FILELISTINGINTERNAL_H
