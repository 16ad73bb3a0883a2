/// @file
/// A worker thread that is told what to do, and tells how far it is, in lambdas alone: no class is derived from an
/// interface.
#include <cstdio>
#include <future>
#include <tarnu/TarnuWin32Utils.h>
#include <thread>

int main() {
    constexpr UINT progressMessage = WM_APP + 1;

    // Orders run on the worker's thread when it asks for them; each of them wakes it.
    std::promise<OrvaMessageQueue*> ready;
    std::thread worker([&ready] {
        int arrivals = 0;
        tarnu::FunctionCallback arrived([&arrivals] { ++arrivals; });
        OrvaMessageQueue queue(&arrived, nullptr);
        ready.set_value(&queue);
        OrvaMessage* next = nullptr;
        for (;;) {
            tarnu::RunMessages(queue);
            const OrvaServerCode code = queue.Peek(next);
            if (code == OrvaServerQueueClosed) break;
            if (code == OrvaServerQueueEmpty) ::SleepEx(INFINITE, /*bAlertable=*/TRUE);
        }
        std::printf("worker: %d arrivals, the end among them\n", arrivals);
    });
    OrvaMessageQueue& orders = *ready.get_future().get();

    // Its reports arrive here, in the message loop.
    const tarnu::MessageSubscription subscription(progressMessage, [](const OrvaWndMsgServer::MessageRecord& record) {
        std::printf("%d of 3\n", static_cast<int>(record.wParam));
        if (record.wParam == 3) ::PostQuitMessage(0);
    });
    for (int number = 1; number <= 3; ++number) {
        tarnu::Post(orders,
                    [number] { OrvaGetWndMsgServer()->PostMessage(progressMessage, static_cast<WPARAM>(number), 0); });
    }
    MSG message;
    while (::GetMessageW(&message, nullptr, 0, 0) > 0)
        ::DispatchMessageW(&message);

    orders.PostClose();
    worker.join();
    return 0;
}
