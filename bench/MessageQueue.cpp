// The message queue: objects brought to a thread by asynchronous procedure calls.

#include "bench/Harness.h"

#include "tarnu/messaging/OrvaMessageQueue.h"

#include <cstdlib>
#include <deque>
#include <memory>
#include <mutex>
#include <utility>

namespace {

using tarnu::bench::Subject;
using tarnu::bench::Work;

struct Number : OrvaMessage {
    explicit Number(std::uint64_t number) : value(number) {}
    const std::uint64_t value;
};

/// The messages of one turn. Nobody takes them over: posting and getting is what is measured.
class Messages {
public:
    explicit Messages(std::uint64_t count) {
        for (std::uint64_t number = 0; number < count; ++number)
            m_messages.push_back(std::make_unique<Number>(number));
    }
    std::uint64_t size() const { return m_messages.size(); }
    Number* operator[](std::uint64_t index) const { return m_messages[index].get(); }

private:
    std::vector<std::unique_ptr<Number>> m_messages;
};

/// The limit: the procedure call alone carries the message to a variable, and each getting is one alertable wait.
class Bare {
public:
    Bare() {
        ::DuplicateHandle(::GetCurrentProcess(), ::GetCurrentThread(), ::GetCurrentProcess(), &m_thread,
                          THREAD_SET_CONTEXT, FALSE, 0);
    }
    ~Bare() { ::CloseHandle(m_thread); }
    Bare(const Bare&) = delete;
    Bare& operator=(const Bare&) = delete;

    void Post(Number* message) { ::QueueUserAPC(&Arrive, m_thread, reinterpret_cast<ULONG_PTR>(message)); }
    std::uint64_t Get() {
        ::SleepEx(0, TRUE);
        return std::exchange(s_sum, 0);
    }

private:
    static void CALLBACK Arrive(ULONG_PTR message) { s_sum += reinterpret_cast<Number*>(message)->value; }

    static inline std::uint64_t s_sum = 0;
    HANDLE m_thread = nullptr;
};

class Library {
public:
    void Post(Number* message) {
        if (m_queue.Post(message) != OrvaServerSuccess) std::abort();
    }
    std::uint64_t Get() {
        OrvaMessage* message = nullptr;
        return m_queue.Get(message) == OrvaServerSuccess ? static_cast<Number*>(message)->value : 0;
    }

private:
    OrvaMessageQueue m_queue{nullptr, nullptr};
};

class MutexQueue {
public:
    void Post(Number* message) {
        const std::lock_guard lock(m_mutex);
        m_messages.push_back(message);
    }
    std::uint64_t Get() {
        const std::lock_guard lock(m_mutex);
        if (m_messages.empty()) return 0;
        const std::uint64_t value = m_messages.front()->value;
        m_messages.pop_front();
        return value;
    }

private:
    std::mutex m_mutex;
    std::deque<Number*> m_messages;
};

template <class Queue>
std::uint64_t OneByOne(Queue& queue, const Messages& messages) {
    std::uint64_t sum = 0;
    for (std::uint64_t index = 0; index < messages.size(); ++index) {
        queue.Post(messages[index]);
        sum += queue.Get();
    }
    return sum;
}

template <class Queue>
std::uint64_t Together(Queue& queue, const Messages& messages) {
    for (std::uint64_t index = 0; index < messages.size(); ++index)
        queue.Post(messages[index]);
    std::uint64_t sum = 0;
    for (std::uint64_t index = 0; index < messages.size(); ++index)
        sum += queue.Get();
    return sum;
}

} // namespace

int main() {
    const Messages messages(2'000);
    Bare bare;
    Library library;
    MutexQueue mutexQueue;
    Subject subject("Message queue: posted and got on one thread");
    subject.AddCase("2000 messages, each got when posted", "message", messages.size())
        .Limit("QueueUserAPC and SleepEx", [&] { return OneByOne(bare, messages); })
        .Library("OrvaMessageQueue", [&] { return OneByOne(library, messages); })
        .Peer("mutex and std::deque", [&] { return OneByOne(mutexQueue, messages); })
        .Goal(1.05)
        .Rounds(5);
    subject.AddCase("2000 messages, posted, then got", "message", messages.size())
        .Limit("QueueUserAPC and SleepEx", [&] { return Together(bare, messages); })
        .Library("OrvaMessageQueue", [&] { return Together(library, messages); })
        .Peer("mutex and std::deque", [&] { return Together(mutexQueue, messages); })
        .Goal(1.05)
        .Rounds(5);
    subject.AddGrowth("posting, then getting", "message", 50, [&](std::uint64_t count) -> Work {
        auto grown = std::make_shared<Messages>(count);
        return [grown, &library] { return Together(library, *grown); };
    });
    return subject.Run();
}
