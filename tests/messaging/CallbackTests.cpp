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

UniqueHandle MakeEvent(bool isManual) {
    return UniqueHandle(::CreateEventW(nullptr, isManual, FALSE, nullptr));
}

TEST(Callback, SetLeavesTheEventSignalled) {
    const UniqueHandle event = MakeEvent(/*isManual=*/true);
    OrvaHEVENTCallback callback(event.Get(), false);
    OrvaCallback& base = callback;
    EXPECT_TRUE(base.Execute());
    EXPECT_EQ(WAIT_OBJECT_0, ::WaitForSingleObject(event.Get(), 0));
}

TEST(Callback, PulseReleasesWaitersAndLeavesTheEventReset) {
    const UniqueHandle event = MakeEvent(/*isManual=*/true);
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
    UniqueHandle event = MakeEvent(/*isManual=*/true);
    OrvaHEVENTCallback set(event.Get(), false);
    OrvaHEVENTCallback pulse(event.Get(), true);
    event.Reset();
    EXPECT_FALSE(set.Execute());
    EXPECT_FALSE(pulse.Execute());
    EXPECT_FALSE(OrvaHEVENTCallback(nullptr, false).Execute());
}

TEST(Callback, TheEventOutlivesTheCallback) {
    const UniqueHandle event = MakeEvent(/*isManual=*/false);
    std::unique_ptr<OrvaCallback> callback = std::make_unique<OrvaHEVENTCallback>(event.Get(), false);
    callback->Execute();
    callback.reset();
    EXPECT_EQ(WAIT_OBJECT_0, ::WaitForSingleObject(event.Get(), 0));
    EXPECT_TRUE(::SetEvent(event.Get()));
}

class CountingCallback : public OrvaCallback {
public:
    explicit CountingCallback(int& living) : m_living(living) { ++m_living; }
    ~CountingCallback() override { --m_living; }
    BOOL Execute() override { return ++calls; }
    int calls = 0;

private:
    int& m_living;
};

class Dispatcher : public OrvaCallbackDispatcher {
public:
    void Add(OrvaCallback* callback) { m_callbacks.AddTail(callback); }
    void ExecuteAll() {
        for (POSITION position = m_callbacks.GetHeadPosition(); position != nullptr;)
            m_callbacks.GetNext(position)->Execute();
    }
};

TEST(Callback, ADestroyedDispatcherLeavesItsCallbacksAlive) {
    int living = 0;
    {
        CountingCallback first(living);
        CountingCallback second(living);
        auto dispatcher = std::make_unique<Dispatcher>();
        for (int round = 0; round < 25; ++round) // more than one block of nodes
            dispatcher->Add(round % 2 == 0 ? &first : &second);
        dispatcher->ExecuteAll();
        std::unique_ptr<OrvaCallbackDispatcher> base = std::move(dispatcher);
        base.reset();
        EXPECT_EQ(2, living);
        EXPECT_EQ(13, first.calls);
        EXPECT_EQ(12, second.calls);
        EXPECT_EQ(14, first.Execute());
    }
    EXPECT_EQ(0, living);
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
