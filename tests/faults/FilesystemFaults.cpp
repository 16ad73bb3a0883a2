// Faults in watching files and in the folder picker.

#include "faults/FaultDriver.h"
#include "support/DirectoryLink.h"
#include "support/Program.h"
#include "support/Wait.h"

#include "tarnu/files/OrvaTreeOperations.h"
#include "tarnu/filesystem/OrvaBFSFileTree.h"
#include "tarnu/filesystem/OrvaBrowseForDirectory.h"
#include "tarnu/filesystem/OrvaFileEventServer.h"
#include "tarnu/messaging/OrvaWndMsgServer.h"
#include "tarnu/support/Owners.h"

#include <algorithm>
#include <cstdlib>
#include <gtest/gtest.h>
#include <shlobj.h>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

namespace tarnu::test::faults {
namespace {

class Listener : public OrvaFileEventListener {
public:
    void OnSizeChanged(OrvaFileEventCookie) override { ++changes; }
    void OnError(OrvaFileEventCookie, DWORD error) override {
        ++errors;
        EXPECT_NE(error, bogusError);
    }
    int changes = 0;
    int errors = 0;
};

/// Waits until the worker has done what it was told before: it takes its messages in order, and reports a directory
/// that does not exist at once.
/// @return false when the worker could not be told, or said nothing
bool Settle(const std::wstring& missing, DWORD milliseconds = mustHappen) {
    Listener listener;
    OrvaFileEventCookie cookie = nullptr;
    OrvaFileEventServer* const server = OrvaGetFileEventServer();
    if (server->RegisterFile(missing.c_str(), FILE_NOTIFY_CHANGE_SIZE, &listener, cookie) != S_OK) return false;
    const bool hasSettled = PumpUntil([&] { return listener.errors > 0; }, milliseconds);
    server->UnregisterFile(cookie);
    PumpMessages();
    return hasSettled;
}

TEST(FileEventFaults, RegisteringAndUnregistering) {
    OrvaFileEventServer* const server = OrvaGetFileEventServer();
    Inject(
        [server](Trial& trial) {
            const std::wstring path = trial.MakeFile(L"watched.txt", "1");
            Listener listener;
            OrvaFileEventCookie cookie = nullptr;
            HRESULT registered = E_FAIL;
            trial.Operate([&] {
                registered = server->RegisterFile(path.c_str(), FILE_NOTIFY_CHANGE_SIZE, &listener, cookie);
                // Told before the fault ends, so that the worker meets it.
                if (registered == S_OK) Settle(trial / L"none\\none", /*milliseconds=*/1000);
            });
            EXPECT_EQ(cookie != nullptr, registered == S_OK);
            trial.ExpectSuccessUnlessFault(registered == S_OK && listener.errors == 0);
            trial.Operate([&] {
                EXPECT_EQ(server->UnregisterFile(cookie), S_OK);
                Settle(trial / L"none\\none", /*milliseconds=*/1000);
            });
            EXPECT_TRUE(Settle(trial / L"none\\none"));
            // What has failed can be registered again.
            EXPECT_EQ(server->RegisterFile(path.c_str(), FILE_NOTIFY_CHANGE_SIZE, &listener, cookie), S_OK);
            listener.errors = 0;
            EXPECT_TRUE(Settle(trial / L"none\\none"));
            EXPECT_EQ(listener.errors, 0);
            EXPECT_EQ(server->UnregisterFile(cookie), S_OK);
            EXPECT_TRUE(Settle(trial / L"none\\none"));
        },
        {.calls = 2, .inARow = 2, .allocations = 12});
}

TEST(FileEventFaults, AChangeArrivesOrTheWatchIsReportedAsLost) {
    OrvaFileEventServer* const server = OrvaGetFileEventServer();
    Inject(
        [server](Trial& trial) {
            const std::wstring path = trial.MakeFile(L"watched.txt", "1");
            Listener listener;
            OrvaFileEventCookie cookie = nullptr;
            ASSERT_EQ(server->RegisterFile(path.c_str(), FILE_NOTIFY_CHANGE_SIZE, &listener, cookie), S_OK);
            EXPECT_TRUE(Settle(trial / L"none\\none"));
            trial.Operate([&] {
                WriteFile(path, "longer");
                EXPECT_TRUE(PumpUntil([&] { return listener.changes + listener.errors > 0; })) << "a change is lost";
            });
            trial.ExpectSuccessUnlessFault(listener.errors == 0);
            EXPECT_EQ(server->UnregisterFile(cookie), S_OK);
            EXPECT_TRUE(Settle(trial / L"none\\none"));
        },
        {.calls = 1, .inARow = 0, .allocations = 1});
}

const SystemCall* FindCall(std::string_view name) {
    const auto& calls = CoveredCalls();
    const auto found = std::find_if(calls.begin(), calls.end(), [name](auto* call) { return call->name == name; });
    return found != calls.end() ? *found : nullptr;
}

TEST(FileEventFaults, NothingIsLostWhenQueueAndMemoryAreFullAtOnce) {
    OrvaFileEventServer* const server = OrvaGetFileEventServer();
    const TempFolder folder;
    const std::wstring path = folder.MakeFile(L"watched.txt", "1");
    const std::wstring missing = folder / L"none\\none";
    Listener listener;
    std::vector<OrvaFileEventCookie> cookies(100);
    const FaultSeam seam;
    EXPECT_TRUE(Settle(missing)); // what lives as long as the process is there
    const auto countBlocks = [] { return FaultSeam::Outstanding()[static_cast<std::size_t>(Resource::Memory)]; };
    const long long before = countBlocks();
    for (OrvaFileEventCookie& cookie : cookies)
        ASSERT_EQ(server->RegisterFile(path.c_str(), FILE_NOTIFY_CHANGE_SIZE, &listener, cookie), S_OK);
    ASSERT_TRUE(Settle(missing));

    const Plan everything{FindCall("PostMessageW"), /*allocations=*/true, /*first=*/1, /*last=*/~0u};
    ASSERT_NE(everything.call, nullptr);
    const auto failPosts = [&everything](auto action) {
        FaultSeam::Prepare(everything);
        FaultSeam::Arm();
        action();
        EXPECT_TRUE(PumpUntil([&everything] { return everything.call->calls >= 100; })); // at least one for each
        FaultSeam::Disarm();
    };
    failPosts([&path] { WriteFile(path, "longer"); });
    EXPECT_EQ(listener.changes, 0);
    EXPECT_TRUE(PumpUntil([&] { return listener.changes >= 100; })) << listener.changes << " of 100 changes arrived";
    EXPECT_TRUE(Settle(missing));
    EXPECT_EQ(listener.changes, 100);

    failPosts([&] {
        for (const OrvaFileEventCookie cookie : cookies)
            server->UnregisterFile(cookie);
    });
    EXPECT_TRUE(PumpUntil([&] { return countBlocks() <= before; })) << "the host has not got all records back";
}

/// The services of the process are created once: each fault in that has a process of its own, which runs the disabled
/// test below.
constexpr char faultVariable[] = "TARNU_FAULT";

void ExpectSuccessOf(const std::wstring& test, const char* fault) {
    ::SetEnvironmentVariableA(faultVariable, fault);
    Program child(L"test_faults.exe",
                  L"--gtest_also_run_disabled_tests --gtest_brief=1 --gtest_filter=ProcessFaults." + test);
    EXPECT_EQ(child.Wait(), 0u) << fault << "\n" << child.Output() << child.Errors();
    ::SetEnvironmentVariableA(faultVariable, nullptr);
}

std::string FaultOfThisProcess() {
    char text[64] = {};
    ::GetEnvironmentVariableA(faultVariable, text, sizeof text);
    return text;
}

TEST(ProcessFaults, FirstUseOfTheFileEventServer) {
    for (const char* fault : {"none", "RegisterClassExW", "CreateWindowExW", "SetWindowLongPtrW", "CreateEventW",
                              "_beginthreadex", "ResumeThread", "WaitForSingleObjectEx", "SetEvent", "memory 1",
                              "memory 2", "memory 8", "memory 17", "memory 18", "memory 19", "memory 20"}) {
        ExpectSuccessOf(L"DISABLED_FirstUseOfTheFileEventServer", fault);
    }
}

TEST(ProcessFaults, DISABLED_FirstUseOfTheFileEventServer) {
    const std::string fault = FaultOfThisProcess();
    Plan plan{nullptr, fault.starts_with("memory"), 1, 1, /*poisons=*/true};
    if (plan.allocations) plan.first = plan.last = static_cast<unsigned>(std::strtoul(fault.c_str() + 6, nullptr, 10));
    plan.call = FindCall(fault);
    ASSERT_TRUE(plan.call != nullptr || plan.allocations || fault == "none");

    const FaultSeam seam;
    FaultSeam::Prepare(plan);
    FaultSeam::Arm();
    OrvaFileEventServer* const server = OrvaGetFileEventServer();
    FaultSeam::Disarm();
    EXPECT_EQ(FaultSeam::HasFailed(), fault != "none" && !(plan.allocations && FaultSeam::Allocations() < plan.first));

    // The next use gets what the first one could not.
    const TempFolder folder;
    EXPECT_TRUE(StartsThread([&] { return Settle(folder / L"none\\none"); }));
    EXPECT_EQ(server->Stop(), 1);
    EXPECT_EQ(server->Stop(), 0);
}

TEST(ProcessFaults, FirstUseOfTheMessageServer) {
    for (const char* fault : {"RegisterClassExW", "CreateWindowExW"})
        ExpectSuccessOf(L"DISABLED_FirstUseOfTheMessageServer", fault);
}

TEST(ProcessFaults, DISABLED_FirstUseOfTheMessageServer) {
    const std::string fault = FaultOfThisProcess();
    const FaultSeam seam;
    // The first use tries twice.
    Plan plan{FindCall(fault), false, 1, 2, /*poisons=*/true};
    ASSERT_NE(plan.call, nullptr);
    FaultSeam::Prepare(plan);
    FaultSeam::Arm();
    OrvaWndMsgServer* const server = OrvaGetWndMsgServer();
    FaultSeam::Disarm();
    EXPECT_TRUE(FaultSeam::HasFailed());
    // The window is made on the server's own thread alone.
    std::thread([server] { EXPECT_EQ(OrvaGetWndMsgServer(), server); }).join();
    EXPECT_FALSE(server->PostMessage(WM_APP, 0, 0)) << "there is no window";
    EXPECT_EQ(::GetLastError(), static_cast<DWORD>(ERROR_INVALID_WINDOW_HANDLE));
    if (fault == "RegisterClassExW") return; // the process ends without class and window
    EXPECT_EQ(OrvaGetWndMsgServer(), server);
    EXPECT_TRUE(server->PostMessage(WM_APP, 0, 0));
}

TEST(BrowseFaults, Dialog) {
    Inject(
        [](Trial& trial) {
            const std::wstring start = trial.MakeFolder(L"start");
            /// Answers the dialog as soon as it has opened.
            class Picker : public OrvaBrowseForDirectory {
            public:
                Picker() : OrvaBrowseForDirectory(&OnEvent) {}
                static int CALLBACK OnEvent(HWND dialog, UINT event, LPARAM, LPARAM data) {
                    if (event == BFFM_INITIALIZED) {
                        ::SendMessageW(dialog, BFFM_SETSELECTIONW, TRUE,
                                       reinterpret_cast<LPARAM>(reinterpret_cast<Picker*>(data)->start.c_str()));
                        ::PostMessageW(dialog, WM_COMMAND, IDOK, 0);
                    }
                    return 0;
                }
                std::wstring start;
            };
            CString path(L"untouched");
            BOOL isChosen = FALSE;
            trial.Operate([&] {
                Picker picker;
                picker.start = start;
                isChosen = picker.Browse(path, start.c_str(), L"title", nullptr, trial.Folder().c_str());
            });
            trial.ExpectSuccessUnlessFault(isChosen != FALSE);
            EXPECT_EQ(isChosen == FALSE, path == L"untouched");
            PumpMessages();
        },
        {.calls = 2, .allocations = 8});
}

// Under Wine a link can't be read as one, so that copying and removing it fail, and say so; nothing else may happen.
TEST(LinkFaults, LinksAreWalkedCopiedAndRemoved) {
    const TempFolder folder; // one link for all runs: under Wine each takes some processes
    const std::wstring kept = folder.MakeFile(L"target\\kept.txt", "kept");
    const std::wstring tree = folder.MakeFolder(L"tree");
    folder.MakeFile(L"tree\\file.txt", "1");
    const DirectoryLink link(tree + L"\\link", folder / L"target");
    if (!link.Exists()) GTEST_SKIP() << "no link can be made here";
    Inject(
        [&](Trial& trial) {
            const std::wstring copy = trial / L"copy";
            int copied = 1;
            bool removed = false;
            const bool noMemory = trial.Throws([&] {
                OrvaBFSFileTree walk;
                walk.Open(tree.c_str(), L"*", 0x20);
                copied = OrvaCopyTree(tree.c_str(), copy.c_str());
                if (DirectoryLink::IsWine()) removed = OrvaRemoveTree((tree + L"\\link").c_str()) == 0;
            });
            EXPECT_TRUE(!noMemory || trial.HasFault());
            EXPECT_TRUE(copied != 0 || Exists(copy + L"\\file.txt"));
            EXPECT_EQ(removed, !link.Exists());
            EXPECT_EQ(ReadFile(kept), "kept");
        },
        {.calls = 2, .allocations = 2});
}

} // namespace
} // namespace tarnu::test::faults
