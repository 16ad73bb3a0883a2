/// @file
/// OrvaSynchronizedSelector: waits on any number of handles, each with its handler.
#ifndef TARNU_MESSAGING_ORVASYNCHRONIZEDSELECTOR_H
#define TARNU_MESSAGING_ORVASYNCHRONIZEDSELECTOR_H

#include "tarnu/messaging/OrvaServerEventHandler.h"

#include <cstddef>
#include <map>
#include <vector>

/// The handles that a server thread watches.
///
/// Threads: one thread at a time; no lock.
/// Ownership: handles and handlers are borrowed.
class TARNU_API OrvaSynchronizedSelector {
public:
    /// What the selector keeps of a handle.
    struct HandleRecord {
        OrvaServerEventHandler* handler; ///< borrowed
    };

    OrvaSynchronizedSelector() = default;
    ~OrvaSynchronizedSelector();
    OrvaSynchronizedSelector(const OrvaSynchronizedSelector&) = delete;
    OrvaSynchronizedSelector& operator=(const OrvaSynchronizedSelector&) = delete;

    /// Enters a handle; one that is known gets the new handler.
    /// @param handle  what to wait on
    /// @param handler given with the handle by Wait
    /// @return the handler that stood there before, or null
    /// @throws std::bad_alloc with nothing changed
    OrvaServerEventHandler* Add(HANDLE handle, OrvaServerEventHandler* handler);
    /// Removes a handle.
    /// @param handle a handle that was added
    /// @return the handler that was removed; null when the handle is not known
    OrvaServerEventHandler* Remove(HANDLE handle) noexcept;
    /// @return the number of handles that are entered, also of those that can't be waited on
    std::size_t GetCount() const noexcept { return m_records.size(); }
    /// Removes any of the handles.
    /// @param handle,handler receive it and what it was entered with; untouched when there is none
    /// @return false when there is none
    bool RemoveAny(HANDLE& handle, OrvaServerEventHandler*& handler) noexcept;

    /// Waits on the handles. Up to 64 are one wait of the system; of more, groups of 64 are waited on in turn, a few
    /// milliseconds each, which only waiting for any of them allows. Every handle has its turn: the next wait begins
    /// behind the one that is reported. A handle that cannot be waited on is left out from then on.
    /// @param waitAll       wait for all handles instead of any
    /// @param milliseconds  limit of the wait, or INFINITE
    /// @param alertable     let procedure calls of this thread run and end the wait
    /// @param handle        receives the signalled handle; null when there is none
    /// @param record        receives its record, valid until the selector changes; null when that is not wanted
    /// @return WAIT_OBJECT_0 or WAIT_ABANDONED_0 with a handle; WAIT_TIMEOUT, WAIT_IO_COMPLETION or WAIT_FAILED without
    ///         one. With @p waitAll the system's own result.
    DWORD Wait(bool waitAll, DWORD milliseconds, bool alertable, HANDLE& handle, HandleRecord** record);

private:
    DWORD WaitForGroup(std::size_t count, DWORD milliseconds, bool alertable, HANDLE& handle) noexcept;
    DWORD TestEach(const HANDLE* handles, std::size_t count, HANDLE& handle) noexcept;
    void Leave(HANDLE handle) noexcept;

    std::map<HANDLE, HandleRecord> m_records;
    std::vector<HANDLE> m_order; ///< those that can be waited on
    std::size_t m_first = 0;     ///< index in m_order at which the next wait begins
};

#endif // TARNU_MESSAGING_ORVASYNCHRONIZEDSELECTOR_H
