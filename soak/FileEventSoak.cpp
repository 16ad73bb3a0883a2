// The file event server over many registrations and many directories.

#include "soak/Usage.h"
#include "support/TempFolder.h"
#include "support/Wait.h"
#include "tarnu/TarnuWin32Utils.h"

#include <atomic>
#include <string>
#include <thread>
#include <vector>

namespace tarnu::soak {
namespace {

using test::TempFolder;

struct Counter final : OrvaFileEventListener {
    void OnSizeChanged(OrvaFileEventCookie) override { ++changes; }
    void OnError(OrvaFileEventCookie, DWORD) override { ++errors; }
    unsigned changes = 0;
    unsigned errors = 0;
};

OrvaFileEventCookie Register(const std::wstring& path, Counter& counter) {
    OrvaFileEventCookie cookie = nullptr;
    EXPECT_EQ(S_OK, OrvaGetFileEventServer()->RegisterFile(path.c_str(), FILE_NOTIFY_CHANGE_SIZE, &counter, cookie));
    return cookie;
}

TEST(Soak, RegistrationsWhileFilesChange) {
    const TempFolder folder;
    std::vector<std::wstring> files;
    for (int index = 0; index < 16; ++index) {
        files.push_back(folder.MakeFile(std::to_wstring(index % 4) + L"\\file" + std::to_wstring(index), "x"));
    }
    std::atomic<bool> isDone = false;
    std::thread writer([&] {
        for (std::size_t index = 0; !isDone; ++index) {
            test::WriteFile(files[index % files.size()], std::string(index % 100, 'x'));
            ::Sleep(1);
        }
    });
    // Three directories stay watched; the watch of the fourth begins and ends with each of its files.
    Counter counter;
    std::vector<OrvaFileEventCookie> cookies;
    for (std::size_t index = 0; index < 3; ++index)
        cookies.push_back(Register(files[index], counter));
    const auto rounds = [&](std::size_t count) {
        for (std::size_t round = 0; round < count; ++round) {
            const std::size_t directory = round % 100 == 0 ? 3 : round % 3;
            const OrvaFileEventCookie cookie = Register(files[directory + 4 * (round % 4)], counter);
            if (round % 64 == 0) test::PumpMessages();
            OrvaGetFileEventServer()->UnregisterFile(cookie);
        }
        // The registrations come back through the queues of both threads; then the server still works.
        Counter last;
        counter.changes = 0;
        const OrvaFileEventCookie cookie = Register(folder.MakeFile(L"last\\file", ""), last);
        EXPECT_TRUE(test::PumpUntil([&, size = 0]() mutable {
            test::WriteFile(folder / L"last\\file", std::string(static_cast<std::size_t>(++size), 'x'));
            return last.changes > 0 && counter.changes > 0;
        }));
        OrvaGetFileEventServer()->UnregisterFile(cookie);
        EXPECT_EQ(0u, last.errors);
    };
    rounds(2000);
    {
        const FlatUsage usage("100 000 registrations while files change");
        for (int part = 0; part < 20; ++part)
            rounds(5000);
    }
    isDone = true;
    writer.join();
    for (const OrvaFileEventCookie cookie : cookies)
        OrvaGetFileEventServer()->UnregisterFile(cookie);
    EXPECT_EQ(0u, counter.errors);
}

TEST(Soak, TwoHundredDirectoriesDeletedAndCreatedAgain) {
    constexpr std::size_t count = 200;
    constexpr int roundCount = 5;
    const TempFolder folder;
    const auto pathOf = [&](std::size_t index) { return L"d" + std::to_wstring(index) + L"\\file"; };
    std::vector<Counter> counters(count);
    std::vector<OrvaFileEventCookie> cookies(count);
    for (std::size_t index = 0; index < count; ++index)
        cookies[index] = Register(folder.MakeFile(pathOf(index), "x"), counters[index]);
    std::size_t size = 1;
    const auto expectEveryChange = [&] {
        for (Counter& counter : counters)
            counter.changes = 0;
        // A file may be written before its watch stands: it is written again until its change is seen.
        ULONGLONG nextWrite = 0;
        EXPECT_TRUE(test::PumpUntil([&] {
            const bool writes = ::GetTickCount64() >= nextWrite;
            std::size_t unseen = 0;
            for (std::size_t index = 0; index < count; ++index) {
                if (counters[index].changes > 0) continue;
                ++unseen;
                if (writes) test::WriteFile(folder / pathOf(index), std::string(++size, 'x'));
            }
            if (writes) nextWrite = ::GetTickCount64() + 2000;
            return unseen == 0;
        }));
    };
    // Renamed first: a deleted directory keeps its name until the last handle to it is closed, under Wine unseen.
    int removed = 0;
    const auto round = [&](std::size_t first) {
        for (std::size_t index = first; index < count; index += 4) {
            counters[index].errors = 0;
            const std::wstring away = folder / (L"away" + std::to_wstring(++removed));
            EXPECT_TRUE(::MoveFileW((folder / (L"d" + std::to_wstring(index))).c_str(), away.c_str()));
            test::RemoveTree(away);
        }
        for (std::size_t index = first; index < count; index += 4) {
            EXPECT_TRUE(test::PumpUntil([&] { return counters[index].errors > 0; })) << index;
            EXPECT_EQ(1u, counters[index].errors) << index;
            OrvaGetFileEventServer()->UnregisterFile(cookies[index]);
            cookies[index] = Register(folder.MakeFile(pathOf(index), "x"), counters[index]);
        }
        expectEveryChange();
    };
    expectEveryChange();
    {
        const FlatUsage usage("200 directories, a quarter of them deleted and created again, 5 rounds");
        for (int index = 0; index < roundCount; ++index)
            round(static_cast<std::size_t>(index) % 4);
    }
    for (OrvaFileEventCookie cookie : cookies)
        OrvaGetFileEventServer()->UnregisterFile(cookie);
    test::PumpUntil([end = ::GetTickCount64() + 1000] { return ::GetTickCount64() > end; });
}

} // namespace
} // namespace tarnu::soak
