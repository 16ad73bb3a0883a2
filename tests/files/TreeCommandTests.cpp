// `orva copy`, `move`, `delete`, `report` and `modified`: exit status and what they leave behind.

#include "support/TempFolder.h"
#include "support/Wait.h"
#include "tarnu/support/Owners.h"

#include <gtest/gtest.h>
#include <string>

namespace {

using tarnu::support::UniqueHandle;
using tarnu::test::Exists;
using tarnu::test::ReadFile;
using tarnu::test::TempFolder;

/// Runs the program beside this one, without a console, and gives its exit status; ended after the bound.
DWORD Orva(const std::wstring& arguments) {
    wchar_t path[MAX_PATH] = {};
    ::GetModuleFileNameW(nullptr, path, MAX_PATH);
    std::wstring program(path);
    program = program.substr(0, program.rfind(L'\\') + 1) + L"orva.exe";
    std::wstring command = L'"' + program + L"\" " + arguments;
    STARTUPINFOW startup{};
    startup.cb = sizeof startup;
    PROCESS_INFORMATION process{};
    if (!::CreateProcessW(program.c_str(), command.data(), nullptr, nullptr, FALSE, DETACHED_PROCESS, nullptr, nullptr,
                          &startup, &process)) {
        ADD_FAILURE() << "orva did not start, error " << ::GetLastError();
        return ~0u;
    }
    const UniqueHandle thread(process.hThread);
    const UniqueHandle handle(process.hProcess);
    EXPECT_EQ(::WaitForSingleObject(handle.Get(), tarnu::test::mustHappen), WAIT_OBJECT_0);
    DWORD status = ~0u;
    ::GetExitCodeProcess(handle.Get(), &status);
    if (status == STILL_ACTIVE) ::TerminateProcess(handle.Get(), 1);
    return status;
}

std::wstring Quoted(const std::wstring& path) {
    return L" \"" + path + L"\"";
}

TEST(TreeCommands, CopyMoveAndDelete) {
    const TempFolder folder;
    const std::wstring source = folder.MakeFolder(L"the source");
    folder.MakeFile(L"the source\\sub\\file", "new");
    const std::wstring copy = folder / L"the copy";
    EXPECT_EQ(Orva(L"copy" + Quoted(source) + Quoted(copy)), 0u);
    EXPECT_EQ(ReadFile(copy + L"\\sub\\file"), "new");

    tarnu::test::WriteFile(copy + L"\\sub\\file", "old");
    EXPECT_EQ(Orva(L"copy" + Quoted(source) + Quoted(copy)), 1u) << "fail is the default policy";
    EXPECT_EQ(Orva(L"copy -p skip" + Quoted(source) + Quoted(copy)), 0u);
    EXPECT_EQ(Orva(L"move -p skip" + Quoted(source) + Quoted(copy)), 1u) << "what was skipped must not be lost";
    EXPECT_EQ(ReadFile(copy + L"\\sub\\file"), "old");
    EXPECT_EQ(ReadFile(source + L"\\sub\\file"), "new");
    EXPECT_EQ(Orva(L"copy -p whatever" + Quoted(source) + Quoted(copy)), 2u);

    EXPECT_EQ(Orva(L"move -q -p overwrite" + Quoted(source) + Quoted(copy)), 0u);
    EXPECT_EQ(ReadFile(copy + L"\\sub\\file"), "new");
    EXPECT_FALSE(Exists(source));
    EXPECT_EQ(Orva(L"delete" + Quoted(source) + Quoted(copy)), 0u) << "a missing one counts as deleted";
    EXPECT_FALSE(Exists(copy));
    EXPECT_EQ(Orva(L"delete" + Quoted(folder.MakeFile(L"file"))), 1u);
    EXPECT_EQ(Orva(L"delete"), 2u);
}

TEST(TreeCommands, ReportAndModified) {
    const TempFolder folder;
    const std::wstring report = folder / L"new\\report.txt";
    EXPECT_EQ(Orva(L"report -b" + Quoted(report) + L" one \"two three\""), 0u);
    EXPECT_EQ(Orva(L"report -b -a" + Quoted(report) + L" four"), 0u);
    EXPECT_EQ(ReadFile(report), "one\r\ntwo three\r\nfour\r\n");
    EXPECT_EQ(Orva(L"report" + Quoted(folder.Path())), 1u);
    EXPECT_EQ(Orva(L"modified -t 1 -i 50" + Quoted(report)), 1u) << "nothing changed";
}

} // namespace
