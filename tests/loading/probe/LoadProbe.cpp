// Loads the library again and again, uses the servers with their thread and their window, and unloads it each time; as
// often as the argument says it stops the file event worker in the middle of its work.
// Exit code 0 when everything was as it should be, the number of the line that was not otherwise.

#include "support/HandleCount.h"
#include "tarnu/filesystem/OrvaFileEventServer.h"
#include "tarnu/messaging/OrvaWndMsgServer.h"

#include <cstdio>
#include <cstdlib>
#include <random>
#include <string>
#include <vector>

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

void Write(const std::wstring& path, unsigned size) {
    const HANDLE file = ::CreateFileW(path.c_str(), GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_DELETE, nullptr,
                                      CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (file == INVALID_HANDLE_VALUE) return;
    DWORD written = 0;
    ::WriteFile(file, std::string(size, 'x').data(), size, &written, nullptr);
    ::CloseHandle(file);
}

void Pump() {
    MSG message;
    while (::PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE))
        ::DispatchMessageW(&message);
}

/// Registrations, their ends, changes and errors are under way when the worker is told to stop.
void StopInTheMiddle(int round, const std::wstring& folder) {
    std::mt19937 random(static_cast<unsigned>(round));
    const HMODULE library = ::LoadLibraryW(libraryName);
    CHECK(library != nullptr);
    OrvaFileEventServer* const server =
        ByOrdinal<OrvaFileEventServer*()>(library, ORDINAL_Z22OrvaGetFileEventServerv)();
    Listener listener;
    std::vector<OrvaFileEventCookie> cookies;
    for (unsigned step = random() % 40; step > 0; --step) {
        const std::wstring path = folder + L"\\file" + std::to_wstring(random() % 4);
        switch (random() % 6) {
        case 0:
            Write(path, random() % 100);
            break;
        case 1:
            ::DeleteFileW(path.c_str());
            break;
        case 2:
            if (!cookies.empty()) {
                CHECK(server->UnregisterFile(cookies.back()) == S_OK);
                cookies.pop_back();
            }
            break;
        case 3:
            Pump();
            if (random() % 16 == 0) ::Sleep(1);
            break;
        default:
            OrvaFileEventCookie cookie = nullptr;
            CHECK(server->RegisterFile(path.c_str(), FILE_NOTIFY_CHANGE_SIZE, &listener, cookie) == S_OK);
            cookies.push_back(cookie);
            break;
        }
    }
    const ULONGLONG started = ::GetTickCount64();
    CHECK(server->Stop() == 1);
    CHECK(::GetTickCount64() - started < 9000); // by itself: force comes after ten seconds
    OrvaFileEventCookie refused = &listener;
    CHECK(server->RegisterFile(folder.c_str(), FILE_NOTIFY_CHANGE_SIZE, &listener, refused) == E_FAIL);
    CHECK(refused == nullptr);
    for (OrvaFileEventCookie cookie : cookies)
        CHECK(server->UnregisterFile(cookie) == S_OK);
    if (random() % 2 == 0) Pump();
    CHECK(::FreeLibrary(library));
    CHECK(::GetModuleHandleW(libraryName) == nullptr);
    Pump(); // what was on its way to the window that is gone
}

std::wstring MakeFolder() {
    wchar_t temp[MAX_PATH + 1] = {};
    ::GetTempPathW(MAX_PATH + 1, temp);
    const std::wstring folder = temp + (L"tarnu-load-" + std::to_wstring(::GetCurrentProcessId()));
    ::CreateDirectoryW(folder.c_str(), nullptr);
    return folder;
}

} // namespace

int main(int count, char** values) {
    const int races = count > 1 ? std::atoi(values[1]) : 0;
    for (int round = 0; round < 5; ++round) // what the system creates once
        UseOnce(round);
    const std::wstring folder = MakeFolder();
    StopInTheMiddle(/*round=*/0, folder);
    const unsigned handles = tarnu::test::CountHandles();
    const DWORD userObjects = ::GetGuiResources(::GetCurrentProcess(), GR_USEROBJECTS);
    int round = 0;
    for (; round < 100; ++round)
        UseOnce(round);
    for (round = 1; round <= races; ++round)
        StopInTheMiddle(round, folder);
    for (int file = 0; file < 4; ++file)
        ::DeleteFileW((folder + L"\\file" + std::to_wstring(file)).c_str());
    CHECK(::RemoveDirectoryW(folder.c_str()));
    constexpr unsigned tolerance = 4; // the system's own
    CHECK(tarnu::test::CountHandles() <= handles + tolerance);
    CHECK(::GetGuiResources(::GetCurrentProcess(), GR_USEROBJECTS) <= userObjects);
    return 0;
}
