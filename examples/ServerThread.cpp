/// @file
/// One server thread serves an event and a waitable timer.
#include <atomic>
#include <cstdio>
#include <tarnu/TarnuWin32Utils.h>

/// Owns its handle and counts its signals.
class CountingHandler : public OrvaServerEventHandler {
public:
    CountingHandler(HANDLE handle, const char* name, std::atomic<int>& count)
        : m_handle(handle), m_name(name), m_count(count) {}
    ~CountingHandler() override { ::CloseHandle(m_handle); }

    HANDLE GetHandle() override { return m_handle; }
    void OnSignaled() override { std::printf("%s: %d\n", m_name, ++m_count); }
    void OnClose() override { std::printf("%s: closed\n", m_name); }

private:
    HANDLE m_handle;
    const char* m_name;
    std::atomic<int>& m_count;
};

int main() {
    std::atomic<int> ticks = 0;
    std::atomic<int> calls = 0;

    OrvaServerThread server;
    if (server.Start() != OrvaServerSuccess) return 1;

    HANDLE timer = ::CreateWaitableTimerW(nullptr, /*bManualReset=*/FALSE, nullptr);
    LARGE_INTEGER due{};
    due.QuadPart = -10 * 10000; // in 10 ms
    ::SetWaitableTimer(timer, &due, /*lPeriod=*/20, nullptr, nullptr, FALSE);
    server.AddHandler(new CountingHandler(timer, "timer", ticks)); // the server deletes it

    HANDLE event = ::CreateEventW(nullptr, /*bManualReset=*/FALSE, FALSE, nullptr);
    server.AddHandler(new CountingHandler(event, "event", calls));

    ::SetEvent(event);
    while (ticks < 3 || calls < 1)
        ::Sleep(5);
    server.Stop();
    return 0;
}
