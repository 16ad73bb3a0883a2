// What Ctrl+C does to commands that run for long.
#include "support/Program.h"
#include "support/TempFolder.h"
#include "support/Text.h"
#include "support/Wait.h"

#include <gtest/gtest.h>
#include <string>

namespace {

using tarnu::support::UniqueFileHandle;
using tarnu::test::Exists;
using tarnu::test::OrvaProcess;
using tarnu::test::Quoted;
using tarnu::test::ReadFile;
using tarnu::test::TempFolder;
using tarnu::test::WaitUntil;

/// Has a console of its own, which it shares with the programs that it starts and with nobody else.
class Interrupt : public testing::Test {
protected:
    void SetUp() override {
        DWORD mode = 0;
        if (::GetConsoleMode(::GetStdHandle(STD_OUTPUT_HANDLE), &mode)) GTEST_SKIP() << "would lose its own output";
        ::FreeConsole();
        m_hasConsole = ::AllocConsole() != FALSE;
        ASSERT_TRUE(m_hasConsole) << ::GetLastError();
        ::SetConsoleCtrlHandler(&Ignore, TRUE);
    }
    void TearDown() override {
        if (!m_hasConsole) return;
        ::SetConsoleCtrlHandler(&Ignore, FALSE);
        ::FreeConsole();
    }

    /// Presses Ctrl+C, and waits for the end of a program that has begun.
    static DWORD StatusOf(OrvaProcess& orva) {
        EXPECT_TRUE(::GenerateConsoleCtrlEvent(CTRL_C_EVENT, /*dwProcessGroupId=*/0)) << ::GetLastError();
        return orva.Wait();
    }

private:
    static BOOL WINAPI Ignore(DWORD) { return TRUE; }

    bool m_hasConsole = false;
};

} // namespace

TEST_F(Interrupt, EndsTheWatchAndTheTimeOfItIsPrinted) {
    const TempFolder temp;
    const std::wstring file = temp.MakeFile(L"file");
    OrvaProcess orva(L"time -- " + Quoted(tarnu::test::PathBesideTest(L"orva.exe")) + L" watch --events size " +
                     Quoted(file));
    std::string contents;
    ASSERT_TRUE(WaitUntil([&] {
        tarnu::test::WriteFile(file, contents += 'x');
        ::Sleep(20);
        return orva.Output().find("  size  ") != std::string::npos;
    })) << orva.Errors();
    EXPECT_EQ(0u, StatusOf(orva)) << orva.Errors();
    EXPECT_TRUE(orva.Output().ends_with(" sec, exit status 0\n")) << orva.Output();
}

TEST_F(Interrupt, LeavesTheArchiveThatWasThere) {
    const TempFolder temp;
    const std::wstring archive = temp.MakeFile(L"to\\a.zip", "old");
    for (int number = 10; number < 26; ++number) {
        const std::wstring path = temp.MakeFile(L"in\\" + std::to_wstring(number));
        const UniqueFileHandle file(::CreateFileW(path.c_str(), GENERIC_WRITE, 0, nullptr, OPEN_EXISTING, 0, nullptr));
        LARGE_INTEGER size{};
        size.QuadPart = 64 << 20; // of zeros, which are packed for a while
        ASSERT_TRUE(::SetFilePointerEx(file.Get(), size, nullptr, FILE_BEGIN) && ::SetEndOfFile(file.Get()));
    }
    OrvaProcess orva(L"zip " + Quoted(archive) + L" " + Quoted(temp / L"in"));
    ASSERT_TRUE(WaitUntil([&] { return orva.Output().find("[2/17]") != std::string::npos; })) << orva.Errors();
    EXPECT_EQ(1u, StatusOf(orva)) << orva.Output();
    EXPECT_TRUE(orva.Errors().ends_with("a.zip was left as it was\n")) << orva.Errors();
    EXPECT_EQ("old", ReadFile(archive));
    EXPECT_TRUE(::DeleteFileW(archive.c_str()));
    EXPECT_TRUE(::RemoveDirectoryW((temp / L"to").c_str())) << "something else was left there";
}

TEST_F(Interrupt, StopsACopyThatWaitsForAFile) {
    const TempFolder temp;
    const std::wstring locked = temp.MakeFile(L"in\\a", "x");
    temp.MakeFile(L"in\\b", "y");
    const UniqueFileHandle lock(::CreateFileW(locked.c_str(), GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr));
    ASSERT_TRUE(lock);
    OrvaProcess orva(L"move --retries 1000 " + Quoted(temp / L"in") + L" " + Quoted(temp / L"out"));
    ASSERT_TRUE(WaitUntil([&] { return orva.Output().find("\\in\\a\n") != std::string::npos; })) << orva.Errors();
    EXPECT_EQ(1u, StatusOf(orva)) << orva.Output();
    EXPECT_TRUE(orva.Errors().ends_with("the source was left as it was\n")) << orva.Errors();
    EXPECT_TRUE(Exists(temp / L"in\\b"));
    EXPECT_FALSE(Exists(temp / L"out\\b"));
}
