/// @file
/// Scopes that hold a slim reader/writer lock.
#ifndef TARNU_SUPPORT_SRWLOCK_H
#define TARNU_SUPPORT_SRWLOCK_H

#include "tarnu/framework/framework.h"

namespace tarnu::support {

/// Holds an SRWLOCK exclusively for a scope. Not recursive.
class SrwExclusiveLock {
public:
    explicit SrwExclusiveLock(SRWLOCK& lock) noexcept : m_lock(lock) { ::AcquireSRWLockExclusive(&m_lock); }
    ~SrwExclusiveLock() { ::ReleaseSRWLockExclusive(&m_lock); }
    SrwExclusiveLock(const SrwExclusiveLock&) = delete;
    SrwExclusiveLock& operator=(const SrwExclusiveLock&) = delete;

private:
    SRWLOCK& m_lock;
};

/// Holds an SRWLOCK for reading for a scope. Not recursive.
class SrwSharedLock {
public:
    explicit SrwSharedLock(SRWLOCK& lock) noexcept : m_lock(lock) { ::AcquireSRWLockShared(&m_lock); }
    ~SrwSharedLock() { ::ReleaseSRWLockShared(&m_lock); }
    SrwSharedLock(const SrwSharedLock&) = delete;
    SrwSharedLock& operator=(const SrwSharedLock&) = delete;

private:
    SRWLOCK& m_lock;
};

} // namespace tarnu::support

#endif // TARNU_SUPPORT_SRWLOCK_H
