// `orva copy`, `move`, `delete`, `report` and `modified`: exit status and what they leave behind.

#include "support/Program.h"
#include "support/TempFolder.h"
#include "support/Text.h"
#include "support/Wait.h"

#include <gtest/gtest.h>
#include <string>

namespace {

using tarnu::test::Exists;
using tarnu::test::OrvaProcess;
using tarnu::test::Quoted;
using tarnu::test::ReadFile;
using tarnu::test::TempFolder;

/// Runs orva and gives its exit status.
DWORD Orva(const std::wstring& arguments) {
    OrvaProcess orva(arguments);
    return orva.Wait();
}

TEST(TreeCommands, CopyMoveAndDelete) {
    const TempFolder folder;
    const std::wstring source = folder.MakeFolder(L"the source");
    folder.MakeFile(L"the source\\sub\\file", "new");
    const std::wstring copy = folder / L"the copy";
    EXPECT_EQ(Orva(L"copy " + Quoted(source) + L" " + Quoted(copy)), 0u);
    EXPECT_EQ(ReadFile(copy + L"\\sub\\file"), "new");

    tarnu::test::WriteFile(copy + L"\\sub\\file", "old");
    EXPECT_EQ(Orva(L"copy " + Quoted(source) + L" " + Quoted(copy)), 1u) << "fail is the default policy";
    EXPECT_EQ(Orva(L"copy -p skip " + Quoted(source) + L" " + Quoted(copy)), 0u);
    EXPECT_EQ(Orva(L"move -p skip " + Quoted(source) + L" " + Quoted(copy)), 1u) << "what was skipped must not be lost";
    EXPECT_EQ(ReadFile(copy + L"\\sub\\file"), "old");
    EXPECT_EQ(ReadFile(source + L"\\sub\\file"), "new");
    EXPECT_EQ(Orva(L"copy -p whatever " + Quoted(source) + L" " + Quoted(copy)), 2u);

    EXPECT_EQ(Orva(L"move -q -p overwrite " + Quoted(source) + L" " + Quoted(copy)), 0u);
    EXPECT_EQ(ReadFile(copy + L"\\sub\\file"), "new");
    EXPECT_FALSE(Exists(source));
    EXPECT_EQ(Orva(L"delete " + Quoted(source) + L" " + Quoted(copy)), 0u) << "a missing one counts as deleted";
    EXPECT_FALSE(Exists(copy));
    EXPECT_EQ(Orva(L"delete " + Quoted(folder.MakeFile(L"file"))), 1u);
    EXPECT_EQ(Orva(L"delete"), 2u);
}

TEST(TreeCommands, ReportAndModified) {
    const TempFolder folder;
    const std::wstring report = folder / L"new\\report.txt";
    EXPECT_EQ(Orva(L"report -b " + Quoted(report) + L" one \"two three\""), 0u);
    EXPECT_EQ(Orva(L"report -b -a " + Quoted(report) + L" four"), 0u);
    EXPECT_EQ(ReadFile(report), "one\r\ntwo three\r\nfour\r\n");
    EXPECT_EQ(Orva(L"report " + Quoted(folder.Path())), 1u);
    EXPECT_EQ(Orva(L"modified -t 1 -i 50 " + Quoted(report)), 1u) << "nothing changed";

    const std::wstring fleeting = folder / L"fleeting";
    OrvaProcess orva(L"modified -t 600 -i 10 " + Quoted(report) + L" " + Quoted(fleeting));
    const auto says = [&](const char* word) {
        return tarnu::test::WaitUntil([&] { return orva.Output().find(word) != std::string::npos; });
    };
    EXPECT_TRUE(says("missing ")) << orva.Errors();
    tarnu::test::WriteFile(fleeting, "x");
    EXPECT_TRUE(says("there ")) << orva.Output();
    tarnu::test::WriteFile(report, "quite another size");
    EXPECT_TRUE(says("modified ")) << orva.Output();
    ::DeleteFileW(fleeting.c_str());
    EXPECT_TRUE(says("gone ")) << orva.Output();
}

} // namespace
