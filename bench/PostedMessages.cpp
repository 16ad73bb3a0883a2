// The window-message server: messages posted to its window and brought to a callback.

#include "bench/Harness.h"

#include "tarnu/messaging/OrvaWndMsgServer.h"

#include <cstdlib>

namespace {

using tarnu::bench::Subject;
using tarnu::bench::Work;

constexpr UINT message = WM_APP + 5;
constexpr std::uint64_t messageCount = 2'000;

std::uint64_t received = 0;

struct Receiver : OrvaWndMsgServer::Callback {
    HRESULT OnMessage(OrvaWndMsgServer::MessageRecord& record) override {
        received += record.wParam;
        return S_OK;
    }
};

LRESULT CALLBACK BareProcedure(HWND window, UINT code, WPARAM wParam, LPARAM lParam) {
    if (code == message) received += wParam;
    return ::DefWindowProcW(window, code, wParam, lParam);
}

HWND MakeBareWindow() {
    WNDCLASSW windowClass{};
    windowClass.lpfnWndProc = &BareProcedure;
    windowClass.lpszClassName = L"OrvaBenchBare";
    ::RegisterClassW(&windowClass);
    const HWND window = ::CreateWindowExW(0, L"OrvaBenchBare", L"", 0, 0, 0, 1, 1, nullptr, nullptr, nullptr, nullptr);
    if (window == nullptr) std::abort();
    return window;
}

/// Posts, then handles what was posted; the sum of what arrived.
template <class Post>
std::uint64_t PostAndPump(std::uint64_t count, Post post) {
    received = 0;
    for (std::uint64_t number = 1; number <= count; ++number)
        post(number);
    for (MSG taken; ::PeekMessageW(&taken, nullptr, 0, 0, PM_REMOVE);)
        ::DispatchMessageW(&taken);
    return received;
}

} // namespace

int main() {
    OrvaWndMsgServer* const server = OrvaGetWndMsgServer();
    Receiver receiver;
    UINT cookie = 0;
    if (server->RegisterCallback(message, cookie, &receiver) != S_OK) std::abort();
    const HWND window = MakeBareWindow();
    const auto library = [server](std::uint64_t number) { server->PostMessage(message, number, 0); };
    const auto bare = [window](std::uint64_t number) { ::PostMessageW(window, message, number, 0); };

    Subject subject("Posted messages: posted and handled on one thread");
    subject.AddCase("2000 messages", "message", messageCount)
        .Limit("PostMessageW and a window procedure", [&] { return PostAndPump(messageCount, bare); })
        .Library("OrvaWndMsgServer", [&] { return PostAndPump(messageCount, library); })
        .Goal(1.05)
        .Rounds(7);
    // The system keeps at most 10 000 messages in a queue, so that larger numbers go in portions.
    subject.AddGrowth("posting and handling", "message", 100, [&](std::uint64_t count) -> Work {
        return [&, count] {
            std::uint64_t sum = 0;
            for (std::uint64_t done = 0; done < count; done += 1'000)
                sum += PostAndPump(1'000, library);
            return sum;
        };
    });
    const int status = subject.Run();
    server->RemoveCallback(message, cookie);
    ::DestroyWindow(window);
    return status;
}
