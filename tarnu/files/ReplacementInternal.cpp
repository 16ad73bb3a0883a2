#include "tarnu/files/ReplacementInternal.h"

#include "tarnu/support/Owners.h"

#include <atomic>
#include <cwchar>
#include <iterator>

namespace tarnu::support {

Replacement::~Replacement() {
    if (m_path.empty()) return;
    const LastErrorKeeper keeper;
    ::SetFileAttributesW(m_path.c_str(), FILE_ATTRIBUTE_NORMAL); // a copy of a read-only file can't be deleted
    if (!::DeleteFileW(m_path.c_str())) ::RemoveDirectoryW(m_path.c_str()); // a link to a directory
}

bool Replacement::TakePlace(bool throughCache) noexcept {
    const DWORD flags = MOVEFILE_REPLACE_EXISTING | (throughCache ? 0u : DWORD{MOVEFILE_WRITE_THROUGH});
    if (!::MoveFileExW(m_path.c_str(), m_target.c_str(), flags)) return false;
    m_path.clear();
    return true;
}

std::wstring Replacement::NewName() const {
    static std::atomic<unsigned> s_serial{0};
    // Eleven characters: a directory's own limit of length leaves room for twelve.
    const unsigned number = ::GetCurrentProcessId() * 0x9E3779B1u + s_serial.fetch_add(1);
    wchar_t name[16];
    ::_snwprintf(name, std::size(name), L"~%06x.tmp", number & 0xFFFFFFu);
    return m_target.substr(0, m_target.find_last_of(L'\\') + 1) + name;
}

} // namespace tarnu::support
