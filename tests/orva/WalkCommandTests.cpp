// orva tree and orva path: what they print, and how they fail.
#include "support/Program.h"
#include "support/TempFolder.h"

#include <gtest/gtest.h>
#include <regex>
#include <string>

namespace {

using tarnu::test::OrvaProcess;
using tarnu::test::TempFolder;

} // namespace

TEST(TreeCommand, ListsFoldersBeforeFilesInNaturalOrderWithSizes) {
    const TempFolder temp;
    temp.MakeFile(L"part10.txt", "1234567890");
    temp.MakeFile(L"part9.txt", "12");
    temp.MakeFile(L"z\\inner.xml", "1");
    temp.MakeFolder(L"a");
    ::SetFileAttributesW((temp / L"part9.txt").c_str(), FILE_ATTRIBUTE_HIDDEN);
    const struct {
        const wchar_t* options;
        const char* expected;
    } cases[] = {
        {L"", "├── a\\\n└── z\\\n2 folders\n"},
        {L" --files", "├── a\\\n├── z\\\n│   └── inner.xml  1 byte\n├── part9.txt  2 bytes\n└── part10.txt  10 bytes\n"
                      "2 folders, 3 files, 13 bytes\n"},
        {L" --pattern *.xml", "├── a\\\n└── z\\\n    └── inner.xml  1 byte\n2 folders, 1 file, 1 byte\n"},
        {L" --attributes hidden", "├── a\\\n├── z\\\n└── part9.txt  2 bytes\n2 folders, 1 file, 2 bytes\n"},
        {L" --attributes !hidden,archive -p *.txt",
         "├── a\\\n├── z\\\n└── part10.txt  10 bytes\n2 folders, 1 file, 10 bytes\n"},
    };
    for (const auto& entry : cases) {
        OrvaProcess orva(L"tree \"" + temp.Path() + L"\"" + entry.options);
        EXPECT_EQ(0u, orva.Wait()) << orva.Errors();
        const std::string output = orva.Output();
        EXPECT_EQ(entry.expected, output.substr(output.find('\n') + 1));
    }
}

TEST(TreeCommand, OrdersNumbersOfAnyLength) {
    const TempFolder temp;
    for (const wchar_t* name : {L"n10000000000", L"n3", L"n4294967297", L"n03", L"N2"})
        temp.MakeFile(name, "");
    OrvaProcess orva(L"tree -f \"" + temp.Path() + L"\"");
    EXPECT_EQ(0u, orva.Wait()) << orva.Errors();
    std::string names;
    const std::string output = orva.Output();
    const std::regex name("[nN]\\d+  ");
    for (std::sregex_iterator found(output.begin(), output.end(), name); found != std::sregex_iterator(); ++found)
        names += found->str();
    EXPECT_EQ("N2  n03  n3  n4294967297  n10000000000  ", names) << output;
}

TEST(TreeCommand, ShowsWhatLiesDeeperThan260Characters) {
    const TempFolder temp;
    const std::wstring part(90, L'd');
    temp.MakeFile(part + L"\\" + part + L"\\" + part + L"\\last", "x");
    OrvaProcess orva(L"tree --files \"" + temp.Path() + L"\"");
    EXPECT_EQ(0u, orva.Wait()) << orva.Errors();
    EXPECT_NE(std::string::npos, orva.Output().find("            └── last  1 byte\n3 folders, 1 file, 1 byte\n"))
        << orva.Output();
}

TEST(TreeCommand, ListsManyFiles) {
    const TempFolder temp;
    std::string expected;
    for (int number = 100; number < 300; ++number) {
        const std::wstring name = std::to_wstring(number) + std::wstring(40, L'x');
        temp.MakeFile(name, "");
        expected += (number < 299 ? "├── " : "└── ") + std::string(name.begin(), name.end()) + "  0 bytes\n";
    }
    OrvaProcess orva(L"tree --files \"" + temp.Path() + L"\"");
    EXPECT_EQ(0u, orva.Wait()) << orva.Errors();
    const std::string output = orva.Output();
    EXPECT_EQ(expected + "0 folders, 200 files, 0 bytes\n", output.substr(output.find('\n') + 1));
}

TEST(TreeCommand, TellsFailureFromMisuse) {
    const TempFolder temp;
    const struct {
        std::wstring arguments;
        DWORD status;
    } cases[] = {
        {L"tree \"" + temp / L"missing" + L"\"", 1},
        {L"tree \"" + temp.MakeFile(L"file") + L"\"", 1},
        {L"tree", 2},
        {L"tree . --attributes wet", 2},
        {L"tree . --unknown", 2},
        {L"tree --help", 0},
    };
    for (const auto& entry : cases) {
        OrvaProcess orva(entry.arguments);
        EXPECT_EQ(entry.status, orva.Wait()) << orva.Output();
        EXPECT_EQ(entry.status == 0, orva.Errors().empty());
    }
}

TEST(PathCommand, PrintsPathsAndFailsWithAMessage) {
    const struct {
        const wchar_t* arguments;
        DWORD status;
        const char* expected;
    } cases[] = {
        {L"split C:/jobs/plan.v2.xml", 0,
         "drive       C:\ndirectory   \\jobs\\\nname        plan.v2\nextension   .xml\n"
         "components  C:\n            jobs\n            plan.v2.xml\n"},
        {L"split \\\\server\\share\\x", 0,
         "drive       \\\\server\\share\\\ndirectory   \nname        x\nextension   \n"
         "components  \\\\server\\share\\\n            x\n"},
        {L"join C:\\a \\b/ c.txt", 0, "C:\\a\\b\\c.txt\n"},
        {L"join -s C:\\a b", 0, "C:/a/b\n"},
        {L"normalise a//b\\\\c/", 0, "a\\b\\c\\\n"},
        {L"normalize --slashes a\\b", 0, "a/b\n"},
        {L"relative C:\\a\\x\\f.txt C:\\a\\b", 0, "..\\x\\f.txt\n"},
        {L"relative D:\\a C:\\b", 1, ""},
        {L"absolute ..\\x C:\\a\\b", 0, "C:\\a\\x\n"},
        {L"absolute none C:\\missing --exists", 1, ""},
        {L"join C:\\a", 2, ""},
        {L"", 2, ""},
        {L"turn C:\\a", 2, ""},
    };
    for (const auto& entry : cases) {
        OrvaProcess orva(std::wstring(L"path ") + entry.arguments);
        EXPECT_EQ(entry.status, orva.Wait());
        if (entry.status == 0) {
            EXPECT_EQ(entry.expected, orva.Output());
        } else {
            EXPECT_NE("", orva.Errors());
        }
    }
}
