// Queues, windows and subclass chains under load.

#include "soak/Usage.h"
#include "support/Wait.h"
#include "tarnu/TarnuWin32Utils.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <memory>
#include <random>
#include <thread>
#include <vector>

namespace tarnu::soak {
namespace {

constexpr unsigned producerCount = 8;

struct Numbered : OrvaMessage {
    Numbered(unsigned fromProducer, unsigned itsNumber) : producer(fromProducer), number(itsNumber) { ++alive; }
    ~Numbered() override { --alive; }
    unsigned producer;
    unsigned number;
    static inline std::atomic<long> alive = 0;
};

/// Takes note of what arrives: all of it, in each producer's order.
class Arrivals {
public:
    void Add(unsigned producer, unsigned number) {
        ASSERT_LT(producer, producerCount);
        ASSERT_EQ(m_next[producer], number) << "from producer " << producer;
        ++m_next[producer];
        ++m_total;
    }
    unsigned Total() const { return m_total; }

private:
    std::array<unsigned, producerCount> m_next{};
    unsigned m_total = 0;
};

class PostedArrivals : public OrvaWndMsgServer::Callback, public Arrivals {
public:
    HRESULT OnMessage(OrvaWndMsgServer::MessageRecord& record) override {
        Add(static_cast<unsigned>(record.wParam), static_cast<unsigned>(record.lParam));
        return S_OK;
    }
};

void ProduceForQueueAndWindow(unsigned perProducer) {
    OrvaMessageQueue queue(nullptr, nullptr);
    OrvaWndMsgServer* server = OrvaGetWndMsgServer();
    constexpr UINT message = WM_APP + 77;
    PostedArrivals posted;
    UINT cookie = 0;
    ASSERT_EQ(S_OK, server->RegisterCallback(message, cookie, &posted));

    std::atomic<unsigned> failures = 0;
    std::vector<std::thread> producers;
    for (unsigned producer = 0; producer < producerCount; ++producer) {
        producers.emplace_back([&, producer] {
            for (unsigned number = 0; number < perProducer; ++number) {
                auto queued = std::make_unique<Numbered>(producer, number);
                if (queue.Post(queued.get()) == OrvaServerSuccess) {
                    queued.release();
                } else {
                    ++failures;
                }
                // The window's queue takes 10000 messages; a full one is tried again.
                while (!server->PostMessage(message, producer, static_cast<LPARAM>(number)))
                    ::Sleep(1);
            }
        });
    }
    Arrivals queued;
    const unsigned all = producerCount * perProducer;
    EXPECT_TRUE(test::PumpUntil(
        [&] {
            OrvaMessage* taken = nullptr;
            while (queue.Get(taken) == OrvaServerSuccess) {
                const std::unique_ptr<Numbered> numbered(static_cast<Numbered*>(taken));
                queued.Add(numbered->producer, numbered->number);
            }
            return queued.Total() == all && posted.Total() == all;
        },
        /*milliseconds=*/200'000));
    for (std::thread& producer : producers)
        producer.join();
    EXPECT_EQ(0u, failures);
    EXPECT_EQ(0, Numbered::alive);
    EXPECT_EQ(S_OK, server->RemoveCallback(message, cookie));
}

TEST(Soak, EightProducersOnQueueAndWindow) {
    ProduceForQueueAndWindow(1000);
    const FlatUsage usage("8 producers, 80 000 messages through a queue and as many through a window");
    ProduceForQueueAndWindow(10'000);
}

class Link : public OrvaSubClassWnd {
public:
    Link(int number, std::vector<int>& visited) : m_number(number), m_visited(visited) {}
    LRESULT WindowProc(UINT message, WPARAM wParam, LPARAM lParam) override {
        if (message == WM_APP) m_visited.push_back(m_number);
        return OrvaSubClassWnd::WindowProc(message, wParam, lParam);
    }

private:
    int m_number;
    std::vector<int>& m_visited;
};

HWND MakeWindow() {
    return ::CreateWindowExW(0, L"STATIC", L"", 0, 0, 0, 0, 0, HWND_MESSAGE, nullptr, nullptr, nullptr);
}

/// Hooks, unhooks and destroys at random, and compares what a message visits with a model: per window a list, the
/// newest first.
void ShuffleChains(unsigned steps, unsigned seed) {
    std::mt19937 random(seed);
    constexpr std::size_t windowCount = 8;
    constexpr int linkCount = 40;
    std::vector<int> visited;
    std::array<HWND, windowCount> windows;
    std::array<std::vector<int>, windowCount> model;
    for (HWND& window : windows)
        ASSERT_NE(nullptr, window = MakeWindow());
    std::vector<std::unique_ptr<Link>> links;
    for (int number = 0; number < linkCount; ++number)
        links.push_back(std::make_unique<Link>(number, visited));
    const auto forget = [&model](int number) {
        for (std::vector<int>& chain : model)
            std::erase(chain, number);
    };
    for (unsigned step = 0; step < steps; ++step) {
        const int number = static_cast<int>(random() % linkCount);
        const auto link = static_cast<std::size_t>(number);
        const std::size_t place = random() % windowCount;
        switch (random() % 16) {
        case 0:
            ASSERT_TRUE(::DestroyWindow(windows[place]));
            model[place].clear();
            ASSERT_NE(nullptr, windows[place] = MakeWindow());
            break;
        case 1:
            links[link] = nullptr;
            links[link] = std::make_unique<Link>(number, visited);
            forget(number);
            break;
        case 2:
        case 3:
        case 4:
            links[link]->UnSubClass();
            forget(number);
            break;
        default:
            ASSERT_TRUE(links[link]->SubClass(windows[place]));
            forget(number);
            model[place].insert(model[place].begin(), number);
            break;
        }
        visited.clear();
        ::SendMessageW(windows[place], WM_APP, 0, 0);
        ASSERT_EQ(model[place], visited) << "step " << step;
    }
    for (HWND window : windows)
        ::DestroyWindow(window);
}

TEST(Soak, SubclassChainsAtRandom) {
    ShuffleChains(2000, /*seed=*/1);
    const FlatUsage usage("300 000 steps on subclass chains");
    ShuffleChains(300'000, /*seed=*/2);
}

} // namespace
} // namespace tarnu::soak
