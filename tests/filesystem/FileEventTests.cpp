#include "tarnu/filesystem/OrvaFileEventServer.h"

#include "support/HandleCount.h"
#include "support/Program.h"
#include "support/TempFolder.h"
#include "support/Wait.h"
#include "tarnu/filesystem/OrvaFileEventMessages.h"
#include "tarnu/messaging/OrvaWndMsgServer.h"
#include "tarnu/support/Owners.h"

#include <algorithm>
#include <cctype>
#include <functional>
#include <gtest/gtest.h>
#include <memory>
#include <set>
#include <string>
#include <vector>

namespace tarnu::test {
namespace {

using support::UniqueFileHandle;

constexpr DWORD fileName = FILE_NOTIFY_CHANGE_FILE_NAME;
constexpr DWORD dirName = FILE_NOTIFY_CHANGE_DIR_NAME;
constexpr DWORD attributes = FILE_NOTIFY_CHANGE_ATTRIBUTES;
constexpr DWORD size = FILE_NOTIFY_CHANGE_SIZE;
constexpr DWORD lastWrite = FILE_NOTIFY_CHANGE_LAST_WRITE;
constexpr DWORD lastAccess = FILE_NOTIFY_CHANGE_LAST_ACCESS;

/// Remembers its calls as one letter each: name, directory, attributes, size, written, read, error, in, out.
class Listener final : public OrvaFileEventListener {
public:
    void OnFileNameChanged(OrvaFileEventCookie cookie) override { Called('n', cookie); }
    void OnDirNameChanged(OrvaFileEventCookie cookie) override { Called('d', cookie); }
    void OnAttributesChanged(OrvaFileEventCookie cookie) override { Called('a', cookie); }
    void OnSizeChanged(OrvaFileEventCookie cookie) override { Called('s', cookie); }
    void OnLastWriteChanged(OrvaFileEventCookie cookie) override { Called('w', cookie); }
    void OnLastAccessChanged(OrvaFileEventCookie cookie) override { Called('r', cookie); }
    void OnError(OrvaFileEventCookie cookie, DWORD error) override {
        errors.push_back(error);
        Called('e', cookie);
    }
    void OnRegistered(OrvaFileEventCookie cookie) override { Called('i', cookie); }
    void OnUnregistered(OrvaFileEventCookie cookie) override { Called('o', cookie); }

    std::string calls;
    std::vector<DWORD> errors;
    OrvaFileEventCookie last = nullptr;
    std::function<void(char)> onCall;

private:
    void Called(char what, OrvaFileEventCookie cookie) {
        calls += what;
        last = cookie;
        if (onCall) onCall(what);
    }
};

class FileEvents : public ::testing::Test {
protected:
    ~FileEvents() override {
        for (OrvaFileEventCookie cookie : m_cookies)
            m_server->UnregisterFile(cookie);
        Settle();
    }

    OrvaFileEventCookie Register(const std::wstring& path, DWORD filter, Listener& listener) {
        OrvaFileEventCookie cookie = nullptr;
        EXPECT_EQ(S_OK, m_server->RegisterFile(path.c_str(), filter, &listener, cookie));
        EXPECT_NE(nullptr, cookie);
        m_cookies.push_back(cookie);
        return cookie;
    }
    void Unregister(OrvaFileEventCookie cookie) {
        EXPECT_EQ(S_OK, m_server->UnregisterFile(cookie));
        std::erase(m_cookies, cookie);
    }
    /// Waits until the worker has done everything that it was told before: it takes its messages in order, and reports
    /// a directory that does not exist at once.
    void Settle() {
        Listener listener;
        OrvaFileEventCookie cookie = nullptr;
        EXPECT_EQ(S_OK, m_server->RegisterFile((m_folder / L"none\\none").c_str(), size, &listener, cookie));
        EXPECT_TRUE(PumpUntil([&] { return !listener.calls.empty(); }));
        m_server->UnregisterFile(cookie);
    }
    /// Waits until the listener was called, and then until its directory's next report would be there too.
    bool PumpUntilCalled(const Listener& listener) {
        return PumpUntil([&] { return !listener.calls.empty(); });
    }
    /// As the worker posts.
    void PostToHost(UINT message, WPARAM wParam, OrvaFileEventCookie cookie) {
        EXPECT_TRUE(OrvaGetWndMsgServer()->PostMessage(message, wParam, reinterpret_cast<LPARAM>(cookie)));
    }

    TempFolder m_folder;
    OrvaFileEventServer* m_server = OrvaGetFileEventServer();
    std::vector<OrvaFileEventCookie> m_cookies;
};

/// Moves the time of the last write, or else of the last access, some years from now.
void SetTime(const std::wstring& path, int years, bool isAccess = false) {
    const UniqueFileHandle file(::CreateFileW(path.c_str(), FILE_WRITE_ATTRIBUTES, FILE_SHARE_READ | FILE_SHARE_WRITE,
                                              nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
    FILETIME time{};
    ::GetSystemTimeAsFileTime(&time);
    time.dwHighDateTime = static_cast<DWORD>(static_cast<int>(time.dwHighDateTime) + years * 73429); // 2^32 ticks each
    EXPECT_TRUE(::SetFileTime(file.Get(), nullptr, isAccess ? &time : nullptr, isAccess ? nullptr : &time));
}

// Each case has a directory of its own, and all are under way at once.
TEST_F(FileEvents, TheMaskNamesWhatChanged) {
    struct Case {
        const char* what;
        DWORD filter;
        std::function<void(const std::wstring& file, const std::wstring& other)> change;
        const char* calls; ///< at least these, and no others
    };
    const Case cases[] = {
        {"size", size, [](auto& file, auto&) { WriteFile(file, "longer"); }, "s"},
        {"write", lastWrite, [](auto& file, auto&) { SetTime(file, 1); }, "w"},
        {"access, in a directory that signals for another reason", fileName | lastAccess,
         [](auto& file, auto& other) {
             SetTime(file, 1, /*isAccess=*/true);
             WriteFile(other, "");
         },
         "nr"},
        {"size and write, in the order of the bits", size | lastWrite,
         [](auto& file, auto&) {
             WriteFile(file, "longer");
             SetTime(file, 1);
         },
         "sw"},
        {"a time that moves backwards is no change", size | lastWrite,
         [](auto& file, auto&) {
             WriteFile(file, "longer");
             SetTime(file, -1);
         },
         "s"},
        {"another file's name", fileName, [](auto&, auto& other) { WriteFile(other, ""); }, "n"},
        {"another file's name, three kinds without comparing", fileName | dirName | attributes | size | lastWrite,
         [](auto&, auto& other) { WriteFile(other, ""); }, "nda"},
        {"replaced by renaming", fileName | size,
         [](auto& file, auto& other) {
             WriteFile(other, "another length");
             EXPECT_TRUE(::MoveFileExW(other.c_str(), file.c_str(), MOVEFILE_REPLACE_EXISTING));
         },
         "ns"},
        {"another directory's name", dirName,
         [](auto&, auto& other) { EXPECT_TRUE(::CreateDirectoryW(other.c_str(), nullptr)); }, "d"},
    };
    Listener listeners[std::size(cases)];
    const auto folder = [&](std::size_t index) { return L"case" + std::to_wstring(index); };
    const std::wstring gone = m_folder.MakeFile(L"case0\\gone");
    for (std::size_t index = 0; index < std::size(cases); ++index) {
        m_folder.MakeFile(folder(index) + L"\\file", "short");
        Register(m_folder / (folder(index) + L"\\file"), cases[index].filter, listeners[index]);
    }
    Listener ofGone; // whose directory signals, too
    Register(gone, fileName, ofGone);
    Listener ofRoot;
    Register(L"C:\\", size, ofRoot); // the directory keeps its separator
    Settle();
    EXPECT_TRUE(::DeleteFileW(gone.c_str()));
    for (std::size_t index = 0; index < std::size(cases); ++index) {
        cases[index].change(m_folder / (folder(index) + L"\\file"), m_folder / (folder(index) + L"\\other"));
    }
    for (std::size_t index = 0; index < std::size(cases); ++index) {
        SCOPED_TRACE(cases[index].what);
        EXPECT_TRUE(PumpUntilCalled(listeners[index]));
        // A change that takes several steps may signal twice; what is not compared is then reported twice.
        std::string calls = listeners[index].calls;
        const std::string expected = cases[index].calls;
        EXPECT_EQ(expected, calls.substr(0, expected.size()));
        std::sort(calls.begin(), calls.end());
        calls.erase(std::unique(calls.begin(), calls.end()), calls.end());
        std::string sorted = expected;
        std::sort(sorted.begin(), sorted.end());
        EXPECT_EQ(sorted, calls);
        EXPECT_EQ(m_cookies[index], listeners[index].last);
    }
    EXPECT_EQ("", ofGone.calls);
    EXPECT_TRUE(ofRoot.errors.empty());
}

TEST_F(FileEvents, FilesOfOneDirectoryShareTheFirstOnesWatch) {
    const std::wstring first = m_folder.MakeFile(L"Shared\\first", "1");
    const std::wstring second = m_folder.MakeFile(L"Shared\\second", "2");
    Listener names;
    Listener writes;
    Listener other;
    Settle();
    const unsigned handles = CountHandles();
    OrvaFileEventCookie firstCookie = Register(first, fileName, names);
    Settle();
    EXPECT_EQ(handles + 1, CountHandles());
    // The same directory in other letters: still one watch.
    std::wstring shouted = m_folder / L"SHARED\\SECOND";
    OrvaFileEventCookie secondCookie = Register(shouted, lastWrite, writes);
    OrvaFileEventCookie thirdCookie = Register(m_folder / L"shared", fileName, other); // the directory itself
    Settle();
    EXPECT_EQ(handles + 1, CountHandles());

    SetTime(second, 1); // is not among what the first one asked to be signalled
    WriteFile(m_folder / L"Shared\\third", "");
    EXPECT_TRUE(PumpUntil([&] { return !names.calls.empty() && !writes.calls.empty() && !other.calls.empty(); }));
    EXPECT_EQ('n', names.calls[0]);
    EXPECT_EQ("w", writes.calls);

    Unregister(firstCookie);
    Settle();
    EXPECT_EQ(handles + 1, CountHandles());
    Unregister(secondCookie);
    Unregister(thirdCookie);
    Settle();
    EXPECT_EQ(handles, CountHandles());
    EXPECT_TRUE(::DeleteFileW(second.c_str()));
}

TEST_F(FileEvents, ARelativePathIsTakenFromTheCurrentDirectory) {
    m_folder.MakeFile(L"here\\file");
    wchar_t before[MAX_PATH] = {};
    ::GetCurrentDirectoryW(MAX_PATH, before);
    ASSERT_TRUE(::SetCurrentDirectoryW((m_folder / L"here").c_str()));
    Listener listener;
    Register(L"file", size, listener);
    ::SetCurrentDirectoryW(before);
    Settle();
    WriteFile(m_folder / L"here\\file", "longer");
    EXPECT_TRUE(PumpUntilCalled(listener));
    EXPECT_EQ("s", listener.calls);
}

TEST_F(FileEvents, RefusesWhatCannotBe) {
    Listener listener;
    OrvaFileEventCookie cookie = &listener;
    EXPECT_EQ(E_POINTER, m_server->RegisterFile(nullptr, size, &listener, cookie));
    EXPECT_EQ(nullptr, cookie);
    for (OrvaFileEventCookie unknown : {static_cast<OrvaFileEventCookie>(nullptr),
                                        static_cast<OrvaFileEventCookie>(&listener), reinterpret_cast<void*>(1)}) {
        EXPECT_EQ(S_OK, m_server->UnregisterFile(unknown));
    }
    cookie = Register(m_folder.MakeFile(L"file"), size, listener);
    Unregister(cookie);
    EXPECT_EQ(S_OK, m_server->UnregisterFile(cookie)); // twice
    // Nobody listens: what happens to the file, or to a path that can't be watched, is told to nobody.
    EXPECT_EQ(S_OK, m_server->RegisterFile((m_folder / L"none\\file").c_str(), size, nullptr, cookie));
    Settle();
    EXPECT_EQ(S_OK, m_server->UnregisterFile(cookie));
    EXPECT_EQ("", listener.calls);
}

TEST_F(FileEvents, WhatCannotBeWatchedIsReportedOnce) {
    struct Case {
        std::wstring path;
        DWORD filter;
        std::vector<DWORD> errors;
    };
    const Case cases[] = {
        {m_folder / L"no\\such\\file", size, {ERROR_PATH_NOT_FOUND}},
        {m_folder / L"nofile", size, {ERROR_FILE_NOT_FOUND, ERROR_PATH_NOT_FOUND}}, // taken for a directory
        {m_folder.MakeFile(L"zero\\file"), 0, {ERROR_INVALID_PARAMETER}},
        {L"", size, {ERROR_PATH_NOT_FOUND}},
        {m_folder / std::wstring(400, L'x'),
         size,
         {ERROR_PATH_NOT_FOUND, ERROR_FILE_NOT_FOUND, ERROR_INVALID_NAME, ERROR_FILENAME_EXCED_RANGE}},
    };
    Listener listeners[std::size(cases)];
    for (std::size_t index = 0; index < std::size(cases); ++index)
        Register(cases[index].path, cases[index].filter, listeners[index]);
    Settle();
    Settle();
    for (std::size_t index = 0; index < std::size(cases); ++index) {
        SCOPED_TRACE(index);
        EXPECT_EQ("e", listeners[index].calls);
        ASSERT_EQ(1u, listeners[index].errors.size());
        const auto& errors = cases[index].errors;
        EXPECT_NE(errors.end(), std::find(errors.begin(), errors.end(), listeners[index].errors[0]))
            << listeners[index].errors[0];
    }
}

// Under Wine a deleted directory stays until the last handle to it is closed; a renamed one is gone on both systems.
TEST_F(FileEvents, ADirectoryThatGoesAwayIsReportedOnceAndMayComeBack) {
    const std::wstring file = m_folder.MakeFile(L"away\\file", "1");
    const std::wstring sibling = m_folder.MakeFile(L"away\\sibling", "1");
    Listener listener;
    Listener second;
    Listener swapped;
    Register(file, size, listener);
    Register(sibling, size, second);
    Register(m_folder.MakeFile(L"swapped\\file"), size, swapped);
    Settle();
    ASSERT_TRUE(::MoveFileW((m_folder / L"away").c_str(), (m_folder / L"gone").c_str()));
    ASSERT_TRUE(::MoveFileW((m_folder / L"swapped").c_str(), (m_folder / L"gone too").c_str()));
    m_folder.MakeFile(L"swapped\\file"); // another directory of the name, which the handle does not watch
    ASSERT_TRUE(PumpUntil([&] { return !listener.calls.empty() && !second.calls.empty() && !swapped.calls.empty(); }));
    Listener late;
    Register(m_folder / L"away\\late", size, late);
    EXPECT_TRUE(PumpUntilCalled(late));
    for (const Listener* each : {&listener, &second, &swapped, &late}) {
        EXPECT_EQ("e", each->calls);
        EXPECT_NE(0u, each->errors[0]);
    }

    // A new registration in a directory of that name watches for the others too.
    m_folder.MakeFile(L"away\\file", "1");
    m_folder.MakeFile(L"away\\sibling", "1");
    Listener third;
    Register(file, size, third);
    Settle();
    WriteFile(file, "longer");
    WriteFile(sibling, "longer");
    EXPECT_TRUE(PumpUntil([&] { return listener.calls == "es" && second.calls == "es" && third.calls == "s"; }))
        << listener.calls << ' ' << second.calls << ' ' << third.calls;
}

/// The values of all open handles.
std::set<ULONG_PTR> OpenHandles() {
    std::set<ULONG_PTR> handles;
    ForEachHandle([&handles](ULONG_PTR value) { handles.insert(value); });
    return handles;
}

// A failed wait names no handle; the one at fault is found, and the others go on.
TEST_F(FileEvents, AHandleThatSomebodyElseClosedIsReportedOnce) {
    const std::wstring healthy = m_folder.MakeFile(L"healthy\\file", "1");
    const std::wstring lost = m_folder.MakeFile(L"lost\\file", "1");
    Listener healthyListener;
    Listener lostListener;
    Register(healthy, size, healthyListener);
    Settle();
    const std::set<ULONG_PTR> before = OpenHandles();
    Register(lost, size, lostListener);
    Settle();
    std::vector<ULONG_PTR> opened;
    for (const ULONG_PTR value : OpenHandles()) {
        if (!before.contains(value)) opened.push_back(value);
    }
    ASSERT_EQ(1u, opened.size());
    ASSERT_TRUE(::CloseHandle(reinterpret_cast<HANDLE>(opened[0])));
    Register(healthy, size, healthyListener); // opens nothing, but lets the worker wait anew
    EXPECT_TRUE(PumpUntilCalled(lostListener));
    WriteFile(healthy, "longer");
    EXPECT_TRUE(PumpUntil([&] { return healthyListener.calls == "ss"; }));
    EXPECT_EQ("e", lostListener.calls);
    EXPECT_EQ(std::vector<DWORD>{ERROR_INVALID_HANDLE}, lostListener.errors);
}

// One after the other the half-second pauses would add up to more than the wait's limit.
TEST_F(FileEvents, WatchesMoreDirectoriesThanOneWaitTakes) {
    constexpr std::size_t count = 150;
    std::vector<std::unique_ptr<Listener>> listeners;
    std::vector<std::wstring> files;
    for (std::size_t index = 0; index < count; ++index) {
        files.push_back(m_folder.MakeFile(L"many\\" + std::to_wstring(index) + L"\\file"));
        listeners.push_back(std::make_unique<Listener>());
        Register(files.back(), size, *listeners.back());
    }
    Settle();
    for (std::size_t index = count; index-- > 0;) {
        WriteFile(files[index], "longer");
    }
    EXPECT_TRUE(PumpUntil([&] {
        return std::all_of(listeners.begin(), listeners.end(), [](const auto& l) { return l->calls == "s"; });
    }));
    // Fewer than one wait takes again.
    for (std::size_t index = 20; index < count; ++index)
        Unregister(m_cookies[20]);
    Settle();
    WriteFile(files[19], "longer again");
    EXPECT_TRUE(PumpUntil([&] { return listeners[19]->calls == "ss"; }));
}

TEST_F(FileEvents, AFileThatIsRegisteredWithinTheHalfSecondSeesItsOwnChanges) {
    const std::wstring first = m_folder.MakeFile(L"pause\\first");
    const std::wstring second = m_folder.MakeFile(L"pause\\second");
    Listener early;
    Listener late;
    Register(first, size, early);
    Settle();
    WriteFile(first, "longer");
    Register(second, size, late);
    Settle();
    WriteFile(second, "longer");
    EXPECT_TRUE(PumpUntil([&] { return early.calls == "s" && late.calls == "s"; })) << early.calls << late.calls;
}

TEST_F(FileEvents, AListenerMayEndItsRegistrationBetweenTwoBits) {
    Listener listener;
    auto successor = std::make_unique<Listener>();
    const std::wstring file = m_folder.MakeFile(L"file");
    OrvaFileEventCookie cookie = Register(file, size, listener);
    listener.onCall = [&](char what) {
        if (what != 'd') return;
        Unregister(cookie);
        Settle(); // pumps: the address may be given out again meanwhile
        for (int round = 0; round < 10; ++round)
            Register(file, size, *successor);
    };
    PostToHost(WM_FILE_NOTIFY, 0x3F, cookie);
    EXPECT_TRUE(PumpUntil([&] { return listener.calls == "nd"; }));
    Settle();
    EXPECT_EQ("nd", listener.calls);
    EXPECT_EQ("", successor->calls);
}

TEST_F(FileEvents, EveryMessageCallsItsSlotAndNoOtherDoes) {
    Listener listener;
    OrvaFileEventCookie cookie = Register(m_folder.MakeFile(L"file"), size, listener);
    Settle();
    OrvaFileEventCookie ended = Register(m_folder / L"file", size, listener);
    Unregister(ended);
    PostToHost(WM_FILE_NOTIFY, 0xFFFFFFFF, cookie);
    PostToHost(WM_REGISTERED_FILE, 0, cookie);
    PostToHost(WM_REGISTER_FILE, 0, cookie);
    PostToHost(WM_REGISTER_FILE_FAILED, 0, cookie);
    PostToHost(WM_UNREGISTER_FILE, 0, cookie); // not the worker's: the registration lives on
    PostToHost(0x8807, 0, cookie);
    PostToHost(WM_UNREGISTERED_FILE, 0, cookie);
    PostToHost(WM_REPORT_ERROR, 1234, cookie);
    PostToHost(WM_FILE_NOTIFY, 1, nullptr);
    PostToHost(WM_UNREGISTER_FILE, 0, ended); // too early: the worker has not given it back
    EXPECT_TRUE(PumpUntil([&] { return listener.calls.ends_with('e'); }));
    EXPECT_EQ("ndaswrioe", listener.calls);
    EXPECT_EQ(std::vector<DWORD>{1234}, listener.errors);
}

// The worker's messages for an address come back before the address is used again.
TEST_F(FileEvents, AnEventNeverReachesALaterRegistrationUnderItsAddress) {
    const std::wstring file = m_folder.MakeFile(L"file");
    Listener keeper; // keeps the watch open
    Register(file, size, keeper);
    Listener earlier;
    Listener later;
    std::set<OrvaFileEventCookie> seen;
    int reused = 0;
    for (int round = 0; round < 300; ++round) {
        OrvaFileEventCookie first = Register(file, size, earlier);
        for (const UINT message : {WM_FILE_NOTIFY, WM_REGISTERED_FILE, WM_UNREGISTERED_FILE, WM_REPORT_ERROR})
            PostToHost(message, 0x3F, first);
        Unregister(first);
        OrvaFileEventCookie second = Register(file, size, later);
        if (!seen.insert(second).second) ++reused;
        if (round % 10 == 9) Settle();
        EXPECT_NE(first, second);
        Unregister(second);
    }
    Settle();
    EXPECT_EQ("", earlier.calls);
    EXPECT_EQ("", later.calls);
    EXPECT_GT(reused, 0); // memory does come back
}

TEST_F(FileEvents, TheMessagesHaveNames) {
    const wchar_t* const names[] = {L"WM_FILE_NOTIFY",          L"WM_REGISTER_FILE",   L"WM_REGISTERED_FILE",
                                    L"WM_REGISTER_FILE_FAILED", L"WM_UNREGISTER_FILE", L"WM_UNREGISTERED_FILE",
                                    L"WM_REPORT_ERROR",         L"UNKNOWN_MESSAGE"};
    for (UINT index = 0; index < std::size(names); ++index)
        EXPECT_STREQ(names[index], FileEventMessageName(0x8800 + index));
    EXPECT_STREQ(L"UNKNOWN_MESSAGE", FileEventMessageName(0x87FF));
    EXPECT_STREQ(L"UNKNOWN_MESSAGE", FileEventMessageName(0));
    EXPECT_STREQ(L"ORVA_WM_FILE_NOTIFY", fileNotifyMessageName);
}

// The ends of a process, each in one of its own: 0 is what the probe returns when all its checks held.
TEST_F(FileEvents, StopsAndEndsFromEveryState) {
    for (const wchar_t* mode : {
             L"stop",
             L"stop-unused",
             L"leave",
             L"leave-at-once",
             L"exit-on-other-thread",
             L"server-thread-ended",
             L"stop-in-static-destructor",
             L"stop-in-listener",
             L"stop-under-load",
#ifndef TARNU_COVERAGE // writes files at the end, and may wait for what a thread held that was stopped amid its work
             L"leave-everything",
             L"exit-everything-on-other-thread",
             L"end-everything-in-a-handler",
#endif
         }) {
        Program probe(L"file_event_probe.exe", std::wstring(mode) + L" \"" + m_folder.MakeFile(L"file") + L"\"");
        EXPECT_EQ(0u, probe.Wait()) << ::testing::PrintToString(std::wstring(mode)) << "\n"
                                    << probe.Output() << probe.Errors();
    }
}

} // namespace
} // namespace tarnu::test
