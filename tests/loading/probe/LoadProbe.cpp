// Loads the library a hundred times, uses the servers with their thread and their window, and unloads it each time.
// Exit code 0 when everything was as it should be, the number of the line that was not otherwise.

#include "support/HandleCount.h"
#include "tarnu/filesystem/OrvaFileEventServer.h"
#include "tarnu/messaging/OrvaWndMsgServer.h"

#include <cstdio>
#include <cstdlib>

namespace {

#define CHECK(condition)                                                                                               \
    do {                                                                                                               \
        if (!(condition)) {                                                                                            \
            std::printf("%s does not hold in round %d\n", #condition, round);                                          \
            std::fflush(stdout);                                                                                       \
            std::_Exit(__LINE__ % 256);                                                                                \
        }                                                                                                              \
    } while (false)

constexpr const wchar_t* libraryName = L"TarnuWin32Utils.dll";

struct Listener final : OrvaFileEventListener {};

struct Counter : OrvaWndMsgServer::Callback {
    HRESULT OnMessage(OrvaWndMsgServer::MessageRecord&) override {
        ++calls;
        return S_OK;
    }
    int calls = 0;
};

template <class Function>
Function* ByOrdinal(HMODULE library, WORD ordinal) {
    return reinterpret_cast<Function*>(reinterpret_cast<void*>(::GetProcAddress(library, MAKEINTRESOURCEA(ordinal))));
}

void UseOnce(int round) {
    const HMODULE library = ::LoadLibraryW(libraryName);
    CHECK(library != nullptr);
    // Named as well as numbered; not called, since each call keeps the library loaded.
    CHECK(::GetProcAddress(library, "_Z13DllMessageBoxPKwj") != nullptr);

    const auto getMessages = ByOrdinal<OrvaWndMsgServer*()>(library, ORDINAL_Z19OrvaGetWndMsgServerv);
    CHECK(getMessages != nullptr);
    Counter counter;
    UINT cookie = 0;
    CHECK(getMessages()->RegisterCallback(WM_APP, cookie, &counter) == S_OK);
    getMessages()->SendMessage(WM_APP, 0, 0);
    CHECK(counter.calls == 1);
    CHECK(getMessages()->RemoveCallback(WM_APP, cookie) == S_OK);

    const auto getFileEvents = ByOrdinal<OrvaFileEventServer*()>(library, ORDINAL_Z22OrvaGetFileEventServerv);
    CHECK(getFileEvents != nullptr);
    Listener listener;
    OrvaFileEventCookie registration = nullptr;
    CHECK(getFileEvents()->RegisterFile(L"C:\\none", FILE_NOTIFY_CHANGE_SIZE, &listener, registration) == S_OK);
    CHECK(getFileEvents()->UnregisterFile(registration) == S_OK);
    CHECK(getFileEvents()->Stop() == 1);

    CHECK(::FreeLibrary(library));
    CHECK(::GetModuleHandleW(libraryName) == nullptr);
}

} // namespace

int main() {
    for (int round = 0; round < 5; ++round) // what the system creates once
        UseOnce(round);
    const unsigned handles = tarnu::test::CountHandles();
    const DWORD userObjects = ::GetGuiResources(::GetCurrentProcess(), GR_USEROBJECTS);
    int round = 0;
    for (; round < 100; ++round)
        UseOnce(round);
    constexpr unsigned tolerance = 4; // the system's own
    CHECK(tarnu::test::CountHandles() <= handles + tolerance);
    CHECK(::GetGuiResources(::GetCurrentProcess(), GR_USEROBJECTS) <= userObjects);
    return 0;
}
