#include "tarnu/filesystem/OrvaFileEventServer.h"

#include "tarnu/filesystem/OrvaFileEventMessages.h"
#include "tarnu/filesystem/OrvaFileEventServerInternal.h"
#include "tarnu/support/Errors.h"
#include "tarnu/support/ExtendedPath.h"
#include "tarnu/support/ThreadRule.h"

#include <iterator>
#include <new>

using tarnu::FileRecord;

namespace {

using ListenerSlot = void (OrvaFileEventListener::*)(OrvaFileEventCookie);

/// By the bits of the change mask.
constexpr ListenerSlot changeSlots[] = {
    &OrvaFileEventListener::OnFileNameChanged,   &OrvaFileEventListener::OnDirNameChanged,
    &OrvaFileEventListener::OnAttributesChanged, &OrvaFileEventListener::OnSizeChanged,
    &OrvaFileEventListener::OnLastWriteChanged,  &OrvaFileEventListener::OnLastAccessChanged,
};

/// The worker uses the path later, when another directory may be the current one.
OrvaPath MakeFull(const wchar_t* path) {
    const std::wstring full = tarnu::support::FullPath(path);
    return full.empty() ? OrvaPath(path) : OrvaPath(full);
}

} // namespace

OrvaFileEventServer* OrvaGetFileEventServer() {
    static OrvaFileEventServerImpl server;
    return &server;
}

// The window-message server is asked for first: it is destroyed after this one.
OrvaFileEventServerImpl::OrvaFileEventServerImpl() noexcept : m_messages(OrvaGetWndMsgServer()), m_worker(*m_messages) {
    Start();
}

OrvaFileEventServerImpl::~OrvaFileEventServerImpl() {
    if (m_worker.IsRunning()) OrvaFileEventServerImpl::Stop();
    Unsubscribe(); // stopping has left the callbacks registered, and the object behind them is going
    for (const Registrations* registrations : {&m_registrations, &m_ended}) {
        for (const auto& [record, registration] : *registrations)
            delete record;
    }
}

void OrvaFileEventServerImpl::Start() noexcept {
    while (m_registeredCount < registrationCount) {
        UINT& cookie = m_cookies[m_registeredCount];
        if (FAILED(m_messages->RegisterCallback(tarnu::WM_FILE_NOTIFY + m_registeredCount, cookie, this))) {
            Unsubscribe(); // all or none: the next registration of a file tries again
            return;
        }
        if (m_registeredCount == 0) m_firstCookie = cookie; // the others follow in a row
        ++m_registeredCount;
    }
    m_worker.Start();
}

void OrvaFileEventServerImpl::Unsubscribe() noexcept {
    // From the last one on, each removal is one step.
    for (; m_registeredCount > 0; --m_registeredCount) {
        const UINT index = m_registeredCount - 1;
        m_messages->RemoveCallback(tarnu::WM_FILE_NOTIFY + index, m_firstCookie + index);
    }
}

HRESULT OrvaFileEventServerImpl::RegisterFile(const wchar_t* path, DWORD filter, OrvaFileEventListener* listener,
                                              OrvaFileEventCookie& cookie) {
    tarnu::support::RequireThread(m_threadId);
    cookie = nullptr;
    if (!m_worker.IsRunning() && !m_isStopped) Start(); // what it takes could not be had before
    if (!m_worker.IsRunning()) return E_FAIL;
    if (path == nullptr) return E_POINTER;
    SendUnregistrations();
    try {
        auto record = std::make_unique<FileRecord>(MakeFull(path), filter);
        const auto entered = m_registrations.emplace(record.get(), Registration{listener, m_lastNumber + 1}).first;
        if (!m_worker.Post(tarnu::WM_REGISTER_FILE, /*wParam=*/0, reinterpret_cast<LPARAM>(record.get()))) {
            const HRESULT result = tarnu::support::HresultFromLastError();
            m_registrations.erase(entered);
            return result;
        }
        ++m_lastNumber;
        cookie = record.release(); // the worker's now
        return S_OK;
    } catch (const std::bad_alloc&) {
        return E_OUTOFMEMORY;
    }
}

HRESULT OrvaFileEventServerImpl::UnregisterFile(OrvaFileEventCookie cookie) {
    tarnu::support::RequireThread(m_threadId);
    const auto found = m_registrations.find(static_cast<FileRecord*>(cookie));
    if (found == m_registrations.end()) return S_OK;
    FileRecord* const record = found->first;
    m_ended.insert(m_registrations.extract(found));
    if (m_worker.IsRunning()) {
        try {
            m_unsent.push_back(record);
            SendUnregistrations();
        } catch (const std::bad_alloc&) {
            m_worker.Post(tarnu::WM_UNREGISTER_FILE, /*wParam=*/0, reinterpret_cast<LPARAM>(record));
        }
    }
    return S_OK;
}

/// Tells the worker of the ended registrations, as many as its queue takes.
void OrvaFileEventServerImpl::SendUnregistrations() noexcept {
    auto next = m_unsent.begin();
    while (next != m_unsent.end() &&
           m_worker.Post(tarnu::WM_UNREGISTER_FILE, /*wParam=*/0, reinterpret_cast<LPARAM>(*next))) {
        ++next;
    }
    m_unsent.erase(m_unsent.begin(), next);
}

int OrvaFileEventServerImpl::Stop() {
    m_isStopped = true;
    const bool isStopped = m_worker.Stop();
    for (UINT& cookie : m_cookies) {
        // Hosts rely on the callbacks staying registered: see OrvaWndMsgServer::UnregisterCallback.
        if (cookie != 0) m_messages->UnregisterCallback(cookie);
        cookie = 0;
    }
    return isStopped ? 1 : 0;
}

bool OrvaFileEventServerImpl::IsRegistered(FileRecord* record, UINT64 number) const noexcept {
    const auto found = m_registrations.find(record);
    return found != m_registrations.end() && found->second.number == number;
}

HRESULT OrvaFileEventServerImpl::OnMessage(OrvaWndMsgServer::MessageRecord& message) {
    if (!m_unsent.empty()) SendUnregistrations();
    auto* const record = reinterpret_cast<FileRecord*>(message.lParam); // looked up before it is touched
    if (message.message == tarnu::WM_UNREGISTER_FILE) {
        // Nothing that carries this address is on its way any more: it may be used again.
        const auto ended = m_ended.find(record);
        if (ended != m_ended.end() && record->isReturned) {
            m_ended.erase(ended);
            delete record;
        }
        return S_OK;
    }
    const auto found = m_registrations.find(record);
    OrvaFileEventListener* const listener = found != m_registrations.end() ? found->second.listener : nullptr;
    if (listener == nullptr) return S_OK;
    switch (message.message) {
    case tarnu::WM_FILE_NOTIFY:
        Notify(record, static_cast<DWORD>(message.wParam));
        break;
    case tarnu::WM_REGISTERED_FILE:
        listener->OnRegistered(record);
        break;
    case tarnu::WM_UNREGISTERED_FILE:
        listener->OnUnregistered(record);
        break;
    case tarnu::WM_REPORT_ERROR:
        listener->OnError(record, static_cast<DWORD>(message.wParam));
        break;
    default:
        break;
    }
    return S_OK;
}

/// Each call may end this registration, and, by pumping messages, even give its address to another one.
void OrvaFileEventServerImpl::Notify(FileRecord* record, DWORD mask) {
    const Registration registration = m_registrations.find(record)->second;
    for (std::size_t bit = 0; bit < std::size(changeSlots); ++bit) {
        if ((mask & (1u << bit)) == 0) continue;
        if (!IsRegistered(record, registration.number)) return;
        (registration.listener->*changeSlots[bit])(record);
    }
}
