/// @file
/// One thread sends work to another through a message queue, and closes the queue behind it.
#include <cstdio>
#include <memory>
#include <tarnu/TarnuWin32Utils.h>
#include <thread>

class Station : public OrvaMessage {
public:
    explicit Station(double position) : metres(position) {}
    const double metres;
};

int main() {
    OrvaMessageQueue queue(/*callback=*/nullptr, /*threadHandle=*/nullptr); // this thread's

    std::thread surveyor([&queue] {
        for (int station = 0; station <= 5; ++station) {
            auto message = std::make_unique<Station>(station * 20.0);
            if (queue.Post(message.get()) == OrvaServerSuccess) (void)message.release();
        }
        queue.PostClose();
    });

    double last = -1;
    for (bool isOpen = true; isOpen;) {
        OrvaMessage* message = nullptr;
        switch (queue.Get(message)) {
        case OrvaServerSuccess: {
            const std::unique_ptr<Station> station(static_cast<Station*>(message));
            last = station->metres;
            std::printf("station %.3f\n", last);
            break;
        }
        case OrvaServerQueueClosed:
            isOpen = false;
            break;
        default:
            ::SleepEx(INFINITE, /*bAlertable=*/TRUE);
            break; // until the next message arrives
        }
    }
    surveyor.join();
    return last == 100.0 ? 0 : 1;
}
