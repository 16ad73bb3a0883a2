#include "tarnu/filesystem/OrvaFileModifiedStatus.h"

#include <algorithm>

OrvaFileModifiedStatus::OrvaFileModifiedStatus() noexcept {
    // The framework's own status leaves the plain members as they are.
    m_size = 0;
    m_attribute = 0;
    std::fill(std::begin(m_szFullName), std::end(m_szFullName), L'\0');
}

OrvaFileModifiedStatus::OrvaFileModifiedStatus(const CFileStatus& status) noexcept : CFileStatus(status) {}

OrvaFileModifiedStatus::OrvaFileModifiedStatus(const OrvaFileModifiedStatus& other) noexcept = default;

OrvaFileModifiedStatus::~OrvaFileModifiedStatus() = default;

OrvaFileModifiedStatus& OrvaFileModifiedStatus::operator=(const OrvaFileModifiedStatus& other) noexcept {
    // One expects all six values; access time and attribute byte are left alone. Hosts rely on a remembered status
    // keeping the ones it was first seen with.
    if (this != &other) {
        std::copy(std::begin(other.m_szFullName), std::end(other.m_szFullName), m_szFullName);
        m_ctime = other.m_ctime;
        m_mtime = other.m_mtime;
        m_size = other.m_size;
    }
    return *this;
}

bool OrvaFileModifiedStatus::operator==(const OrvaFileModifiedStatus& other) const noexcept {
    // One expects the contents to be compared; it is the addresses of the name buffers that are, and two objects never
    // share one. Hosts rely on a fresh status never being taken for a remembered one.
    return this == &other;
}

bool OrvaFileModifiedStatus::operator!=(const OrvaFileModifiedStatus& other) const noexcept {
    return !(*this == other);
}
