/// @file
/// The file event server's host side.
#ifndef TARNU_FILESYSTEM_ORVAFILEEVENTSERVERINTERNAL_H
#define TARNU_FILESYSTEM_ORVAFILEEVENTSERVERINTERNAL_H

#include "tarnu/filesystem/OrvaFileEventServer.h"
#include "tarnu/filesystem/OrvaFileEventWorkerThreadInternal.h"

#include <array>

/// Registrations and listeners, on the thread that owns the window-message server.
class OrvaFileEventServerImpl final : public OrvaFileEventServer, public OrvaWndMsgServer::Callback {
public:
    OrvaFileEventServerImpl() noexcept;
    ~OrvaFileEventServerImpl() override;

    HRESULT RegisterFile(const wchar_t* path, DWORD filter, OrvaFileEventListener* listener,
                         OrvaFileEventCookie& cookie) override;
    HRESULT UnregisterFile(OrvaFileEventCookie cookie) override;
    int Stop() override;

    HRESULT OnMessage(OrvaWndMsgServer::MessageRecord& record) override;

private:
    /// How many message numbers are registered, from WM_FILE_NOTIFY on. One expects the last of the eight; it is their
    /// number, and hosts rely on the callbacks that this leaves registered.
    static constexpr UINT registrationCount = 0x8808;

    struct Registration {
        OrvaFileEventListener* listener;
        UINT64 number; ///< never used twice, unlike the record's address
    };
    using Registrations = std::map<tarnu::FileRecord*, Registration>;

    void Start() noexcept;
    void Unsubscribe() noexcept;
    void Notify(tarnu::FileRecord* record, DWORD mask);
    bool IsRegistered(tarnu::FileRecord* record, UINT64 number) const noexcept;
    void SendUnregistrations() noexcept;

    OrvaWndMsgServer* const m_messages;
    const DWORD m_threadId = ::GetCurrentThreadId();
    std::array<UINT, registrationCount> m_cookies{};
    UINT m_firstCookie = 0; ///< of those that the destructor takes back
    UINT m_registeredCount = 0;
    bool m_isStopped = false; ///< for good
    Registrations m_registrations;
    Registrations m_ended;                    ///< until the worker has given the record back
    std::vector<tarnu::FileRecord*> m_unsent; ///< ended, and the worker's full queue has refused to be told
    UINT64 m_lastNumber = 0;
    OrvaFileEventWorkerThread m_worker;
};

#endif // TARNU_FILESYSTEM_ORVAFILEEVENTSERVERINTERNAL_H
