#include "tarnu/messaging/OrvaCallbackDispatcher.h"
#include "tarnu/messaging/OrvaChangeManager.h"
#include "tarnu/messaging/OrvaHEVENTCallback.h"

#include "support/Wait.h"
#include "tarnu/support/Owners.h"

#include <atomic>
#include <gtest/gtest.h>
#include <memory>
#include <thread>

namespace tarnu::test {
namespace {

using support::UniqueHandle;

UniqueHandle MakeEvent() {
    return UniqueHandle(::CreateEventW(nullptr, /*bManualReset=*/TRUE, FALSE, nullptr));
}

TEST(Callback, SetLeavesTheEventSignalledAndOpen) {
    const UniqueHandle event = MakeEvent();
    std::unique_ptr<OrvaCallback> callback = std::make_unique<OrvaHEVENTCallback>(event.Get(), false);
    EXPECT_TRUE(callback->Execute());
    callback.reset();
    EXPECT_EQ(WAIT_OBJECT_0, ::WaitForSingleObject(event.Get(), 0));
}

TEST(Callback, PulseReleasesWaitersAndLeavesTheEventReset) {
    const UniqueHandle event = MakeEvent();
    OrvaHEVENTCallback callback(event.Get(), true);
    EXPECT_TRUE(callback.Execute()); // nobody waits
    EXPECT_EQ(static_cast<DWORD>(WAIT_TIMEOUT), ::WaitForSingleObject(event.Get(), 0));
    std::atomic<bool> isReleased = false;
    std::thread waiter([&] { isReleased = ::WaitForSingleObject(event.Get(), mustHappen) == WAIT_OBJECT_0; });
    // A pulse that comes before the wait is lost, so it is repeated.
    EXPECT_TRUE(WaitUntil([&] { return callback.Execute() && isReleased; }));
    waiter.join();
    EXPECT_EQ(static_cast<DWORD>(WAIT_TIMEOUT), ::WaitForSingleObject(event.Get(), 0));
}

TEST(Callback, AClosedEventFailsAndNothingElseHappens) {
    UniqueHandle event = MakeEvent();
    OrvaHEVENTCallback set(event.Get(), false);
    OrvaHEVENTCallback pulse(event.Get(), true);
    event.Reset();
    EXPECT_FALSE(set.Execute());
    EXPECT_FALSE(pulse.Execute());
    EXPECT_FALSE(OrvaHEVENTCallback(nullptr, false).Execute());
}

class Dispatcher : public OrvaCallbackDispatcher {
public:
    void Add(OrvaCallback* callback) { m_callbacks.AddTail(callback); }
    void ExecuteAll() {
        for (POSITION position = m_callbacks.GetHeadPosition(); position != nullptr;)
            m_callbacks.GetNext(position)->Execute();
    }
};

TEST(Callback, ADestroyedDispatcherLeavesItsCallbacksAlive) {
    const UniqueHandle event = MakeEvent();
    const auto callback = std::make_unique<OrvaHEVENTCallback>(event.Get(), false);
    auto dispatcher = std::make_unique<Dispatcher>();
    for (int round = 0; round < 25; ++round) // more than one block of nodes
        dispatcher->Add(callback.get());
    dispatcher->ExecuteAll();
    EXPECT_EQ(WAIT_OBJECT_0, ::WaitForSingleObject(event.Get(), 0));
    std::unique_ptr<OrvaCallbackDispatcher> base = std::move(dispatcher);
    base.reset();
    ::ResetEvent(event.Get());
    EXPECT_TRUE(callback->Execute());
    EXPECT_EQ(WAIT_OBJECT_0, ::WaitForSingleObject(event.Get(), 0));
}

TEST(Callback, AChangeManagerIsDestroyedThroughItsBase) {
    bool isDestroyed = false;
    struct Manager : OrvaChangeManager {
        explicit Manager(bool& destroyed) : flag(destroyed) {}
        ~Manager() override { flag = true; }
        bool& flag;
    };
    std::unique_ptr<OrvaChangeManager> manager = std::make_unique<Manager>(isDestroyed);
    manager.reset();
    EXPECT_TRUE(isDestroyed);
}

} // namespace
} // namespace tarnu::test
