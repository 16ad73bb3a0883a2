#include "tarnu/messaging/OrvaSynchronizedSelector.h"

#include <algorithm>
#include <iterator>

namespace {

constexpr std::size_t groupSize = MAXIMUM_WAIT_OBJECTS;

/// A turn through all groups, when nothing is signalled.
constexpr DWORD turnMilliseconds = 20;

DWORD Remaining(ULONGLONG started, DWORD milliseconds) noexcept {
    if (milliseconds == INFINITE) return INFINITE;
    const ULONGLONG elapsed = ::GetTickCount64() - started;
    return elapsed >= milliseconds ? 0 : static_cast<DWORD>(milliseconds - elapsed);
}

/// The result of a wait on @p count handles as WAIT_OBJECT_0 or WAIT_ABANDONED_0, with the index; other results stay.
DWORD Split(DWORD result, std::size_t count, std::size_t& index) noexcept {
    for (const DWORD base : {WAIT_OBJECT_0, WAIT_ABANDONED_0}) {
        if (result >= base && result - base < count) {
            index = result - base;
            return base;
        }
    }
    // One behind the last handle names no handle, whatever their number.
    return result == count ? MAXIMUM_WAIT_OBJECTS : result;
}

} // namespace

OrvaSynchronizedSelector::~OrvaSynchronizedSelector() = default;

OrvaServerEventHandler* OrvaSynchronizedSelector::Add(HANDLE handle, OrvaServerEventHandler* handler) {
    m_order.reserve(m_records.size() + 1); // room before the first change
    const auto [found, isNew] = m_records.try_emplace(handle, HandleRecord{handler});
    if (isNew) {
        m_order.push_back(handle);
        return nullptr;
    }
    OrvaServerEventHandler* const displaced = found->second.handler;
    found->second.handler = handler;
    // The value may name another object by now, one that can be waited on.
    if (std::find(m_order.begin(), m_order.end(), handle) == m_order.end()) m_order.push_back(handle);
    return displaced;
}

void OrvaSynchronizedSelector::Leave(HANDLE handle) noexcept {
    const auto found = std::find(m_order.begin(), m_order.end(), handle);
    if (found == m_order.end()) return;
    if (static_cast<std::size_t>(found - m_order.begin()) < m_first) --m_first;
    m_order.erase(found);
    if (m_first >= m_order.size()) m_first = 0;
}

OrvaServerEventHandler* OrvaSynchronizedSelector::Remove(HANDLE handle) noexcept {
    const auto found = m_records.find(handle);
    if (found == m_records.end()) return nullptr;
    OrvaServerEventHandler* const handler = found->second.handler;
    m_records.erase(found);
    Leave(handle);
    return handler;
}

bool OrvaSynchronizedSelector::RemoveAny(HANDLE& handle, OrvaServerEventHandler*& handler) noexcept {
    if (m_records.empty()) return false;
    handle = m_records.begin()->first;
    handler = Remove(handle);
    return true;
}

// A failed wait does not say which handle is at fault. Testing one by one may find a signalled one: it is reported, as
// the test has taken its signal.
DWORD OrvaSynchronizedSelector::TestEach(const HANDLE* handles, std::size_t count, HANDLE& handle) noexcept {
    for (std::size_t index = 0; index < count; ++index) {
        const DWORD result = ::WaitForSingleObject(handles[index], /*dwMilliseconds=*/0);
        if (result == WAIT_FAILED) {
            Leave(handles[index]);
        } else if (result != WAIT_TIMEOUT) {
            handle = handles[index];
            return result;
        }
    }
    return WAIT_TIMEOUT;
}

// Waits on the handles from m_first on, and moves m_first behind the one that is reported, or behind them all.
DWORD OrvaSynchronizedSelector::WaitForGroup(std::size_t count, DWORD milliseconds, bool alertable,
                                             HANDLE& handle) noexcept {
    HANDLE handles[groupSize] = {};
    for (std::size_t index = 0; index < count; ++index)
        handles[index] = m_order[(m_first + index) % m_order.size()];
    std::size_t index = count - 1;
    DWORD result =
        ::WaitForMultipleObjectsEx(static_cast<DWORD>(count), handles, /*bWaitAll=*/FALSE, milliseconds, alertable);
    if (result == WAIT_FAILED) {
        const std::size_t waitable = m_order.size();
        result = TestEach(handles, count, handle);
        if (result != WAIT_TIMEOUT || m_order.size() != waitable) return result;
        // Each is good and together they are not: the next turn tests them again.
        return ::SleepEx(std::min(milliseconds, turnMilliseconds), alertable) == 0 ? WAIT_TIMEOUT : WAIT_IO_COMPLETION;
    }
    result = Split(result, count, index);
    const bool isSignaled = result == WAIT_OBJECT_0 || result == WAIT_ABANDONED_0;
    if (isSignaled) handle = handles[index];
    if (isSignaled || result == WAIT_TIMEOUT) m_first = (m_first + index + 1) % m_order.size();
    return result;
}

DWORD OrvaSynchronizedSelector::Wait(bool waitAll, DWORD milliseconds, bool alertable, HANDLE& handle,
                                     HandleRecord** record) {
    handle = nullptr;
    if (record != nullptr) *record = nullptr;
    if (waitAll) {
        return ::WaitForMultipleObjectsEx(static_cast<DWORD>(m_order.size()), m_order.data(), /*bWaitAll=*/TRUE,
                                          milliseconds, alertable);
    }
    const ULONGLONG started = ::GetTickCount64();
    DWORD result = WAIT_TIMEOUT;
    do {
        const DWORD remaining = Remaining(started, milliseconds);
        const std::size_t count = m_order.size();
        if (count == 0) {
            return ::SleepEx(remaining, alertable) == 0 ? WAIT_TIMEOUT : WAIT_IO_COMPLETION;
        }
        const std::size_t groups = (count + groupSize - 1) / groupSize;
        if (groups == 1) {
            result = WaitForGroup(count, remaining, alertable, handle);
            continue;
        }
        // One look at all groups, so that a signal is found at once; then a short wait on the group whose turn it is.
        for (std::size_t group = 0; group < groups && result == WAIT_TIMEOUT && m_order.size() == count; ++group)
            result = WaitForGroup(groupSize, /*milliseconds=*/0, /*alertable=*/false, handle);
        if (result == WAIT_TIMEOUT && m_order.size() == count) {
            // NOLINTNEXTLINE(clang-analyzer-core.DivideZero): there is at least one
            const DWORD slice = std::max<DWORD>(1, turnMilliseconds / static_cast<DWORD>(groups));
            result = WaitForGroup(groupSize, std::min(remaining, slice), alertable, handle);
        }
    } while (result == WAIT_TIMEOUT && Remaining(started, milliseconds) != 0);
    if (handle != nullptr && record != nullptr) *record = &m_records.find(handle)->second;
    return result;
}
