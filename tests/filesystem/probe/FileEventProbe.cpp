// Uses the file event server and ends in the way that the first argument names. The second one is a file to watch.
// Exit code 0 when everything was as it should be, the number of the line that was not otherwise.

#include "tarnu/filesystem/OrvaFileEventServer.h"
#include "tarnu/messaging/OrvaMessageQueue.h"
#include "tarnu/messaging/OrvaServerThread.h"
#include "tarnu/messaging/OrvaSubClassWnd.h"
#include "tarnu/messaging/OrvaWndMsgServer.h"

#include <atomic>
#include <cstdlib>
#include <string>
#include <thread>

namespace {

#define CHECK(condition)                                                                                               \
    do {                                                                                                               \
        if (!(condition)) std::_Exit(__LINE__);                                                                        \
    } while (false)

struct Listener : OrvaFileEventListener {
    void OnSizeChanged(OrvaFileEventCookie) override {
        ++calls;
        if (stops) CHECK(OrvaGetFileEventServer()->Stop() == 1);
    }
    int calls = 0;
    bool stops = false;
};

Listener listener;

OrvaFileEventCookie Register(const std::wstring& file) {
    OrvaFileEventCookie cookie = nullptr;
    CHECK(OrvaGetFileEventServer()->RegisterFile(file.c_str(), FILE_NOTIFY_CHANGE_SIZE, &listener, cookie) == S_OK);
    return cookie;
}

void CheckStopped(const std::wstring& file, OrvaFileEventCookie cookie) {
    OrvaFileEventServer* server = OrvaGetFileEventServer();
    CHECK(server->Stop() == 0);
    OrvaFileEventCookie refused = nullptr;
    CHECK(server->RegisterFile(file.c_str(), FILE_NOTIFY_CHANGE_SIZE, &listener, refused) == E_FAIL);
    CHECK(refused == nullptr);
    CHECK(server->UnregisterFile(cookie) == S_OK);
    CHECK(server->UnregisterFile(cookie) == S_OK);
}

struct StopsAtTheEnd {
    ~StopsAtTheEnd() {
        if (isActive) CHECK(OrvaGetFileEventServer()->Stop() == 1);
    }
    bool isActive = false;
} stopsAtTheEnd;

/// 34824 numbers from 0x8800 on, in a row, and they stay registered after a stop.
void CheckRegistrations() {
    OrvaWndMsgServer* messages = OrvaGetWndMsgServer();
    struct Ignore : OrvaWndMsgServer::Callback {
        HRESULT OnMessage(OrvaWndMsgServer::MessageRecord&) override { return S_OK; }
    } ignore;
    UINT next = 0;
    CHECK(messages->RegisterCallback(WM_APP, next, &ignore) == S_OK);
    CHECK(next == 34824 + 1);
    CHECK(messages->RemoveCallback(WM_APP, next) == S_OK);
    // The last one that is there; the file event server's own is not taken away in earnest.
    CHECK(messages->RemoveCallback(0x8800 + 34824, 34825) == E_FAIL);
    CHECK(messages->UnregisterCallback(1) == E_FAIL);
    CHECK(messages->RemoveCallback(0x8800 + 34823, 34824) == S_OK);
}

/// A handler that is always signalled.
class Busy : public OrvaServerEventHandler {
public:
    ~Busy() override { ::CloseHandle(m_event); }
    HANDLE GetHandle() override { return m_event; }
    void OnSignaled() override {
        if (++signals > 20 && endsProcess) ::ExitProcess(0);
    }
    void OnClose() override {}
    static inline std::atomic<int> signals = 0;
    static inline std::atomic<bool> endsProcess = false;

private:
    HANDLE m_event = ::CreateEventW(nullptr, TRUE, TRUE, nullptr);
};

OrvaServerThread busyServer; // its destructor stops it

struct Work : OrvaMessage {};

/// Everything that has threads, windows or messages under way, in full work.
void StartEverything(const std::wstring& file) {
    Register(file);
    CHECK(busyServer.Start() == OrvaServerSuccess);
    CHECK(busyServer.AddHandler(new Busy) == OrvaServerSuccess);
    static auto& queue = *new OrvaMessageQueue(nullptr, nullptr); // used to the very end
    static auto& hooked = *new OrvaSubClassWnd;
    const HWND window = ::CreateWindowExW(0, L"STATIC", L"", 0, 0, 0, 1, 1, HWND_MESSAGE, nullptr, nullptr, nullptr);
    CHECK(hooked.SubClass(window));
    // These threads never end by themselves: the end of the process stops them wherever they are.
    std::thread([] {
        for (;; ::Sleep(0)) {
            OrvaGetWndMsgServer()->PostMessage(0x8800, 1, 0);
            queue.Post(new Work);
        }
    }).detach();
    std::thread([window] {
        for (;;)
            ::PostMessageW(window, WM_APP, 0, 0);
    }).detach();
    for (MSG message; Busy::signals < 10;) {
        while (::PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE) && Busy::signals < 10)
            ::DispatchMessageW(&message);
    }
}

int Run(const std::wstring& mode, const std::wstring& file) {
    if (mode == L"stop") {
        OrvaFileEventCookie cookie = Register(file);
        CHECK(OrvaGetFileEventServer()->Stop() == 1);
        CheckStopped(file, cookie);
        CheckRegistrations();
    } else if (mode == L"stop-unused") {
        CHECK(OrvaGetFileEventServer()->Stop() == 1);
        CheckStopped(file, nullptr);
    } else if (mode == L"leave") {
        Register(file);
        Register(file + L"\\none"); // an error is on its way to a queue that nobody reads
    } else if (mode == L"leave-at-once") {
        OrvaGetFileEventServer();
    } else if (mode == L"exit-on-other-thread") {
        Register(file);
        std::thread([] { std::exit(0); }).detach();
        ::Sleep(INFINITE); // never pumps again
    } else if (mode == L"server-thread-ended") {
        std::thread([&] { Register(file); }).join();
    } else if (mode == L"stop-in-static-destructor") {
        Register(file);
        stopsAtTheEnd.isActive = true;
    } else if (mode == L"stop-in-listener") {
        listener.stops = true;
        OrvaFileEventCookie cookie = Register(file);
        OrvaGetWndMsgServer()->SendMessage(0x8800, FILE_NOTIFY_CHANGE_SIZE, reinterpret_cast<LPARAM>(cookie));
        CHECK(listener.calls == 1);
        CheckStopped(file, cookie);
    } else if (mode == L"stop-under-load") {
        for (int round = 0; round < 5000; ++round)
            CHECK(OrvaGetFileEventServer()->UnregisterFile(Register(file)) == S_OK);
        const ULONGLONG started = ::GetTickCount64();
        CHECK(OrvaGetFileEventServer()->Stop() == 1);
        CHECK(::GetTickCount64() - started < 10000); // by itself: force comes after ten seconds
    } else if (mode == L"leave-everything") {
        StartEverything(file);
    } else if (mode == L"exit-everything-on-other-thread") {
        StartEverything(file);
        std::thread([] { std::exit(0); }).detach();
        ::Sleep(INFINITE);
    } else if (mode == L"end-everything-in-a-handler") {
        Busy::endsProcess = true;
        StartEverything(file);
        ::Sleep(INFINITE);
    } else {
        return __LINE__;
    }
    return 0;
}

} // namespace

int wmain(int count, wchar_t** values) {
    return count == 3 ? Run(values[1], values[2]) : __LINE__;
}
