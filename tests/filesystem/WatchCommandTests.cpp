// `orva watch`, run as a program of its own.

#include "support/Program.h"
#include "support/TempFolder.h"
#include "support/Wait.h"

#include <gtest/gtest.h>
#include <regex>
#include <string>

namespace tarnu::test {
namespace {

TEST(WatchCommand, PrintsEachChangeAsItComes) {
    const TempFolder folder;
    const std::wstring file = folder.MakeFile(L"with space\\file.txt");
    OrvaProcess orva(L"watch \"" + file + L"\" --events size --for 600");
    std::string contents;
    // Nothing tells when the watching has begun, so the file grows until the first line is there.
    ASSERT_TRUE(WaitUntil([&] {
        WriteFile(file, contents += 'x');
        ::Sleep(20);
        return orva.Output().find('\n') != std::string::npos;
    })) << orva.Output();
    EXPECT_TRUE(orva.IsRunning());
    const std::string line = orva.Output().substr(0, orva.Output().find('\n'));
    EXPECT_TRUE(std::regex_match(line, std::regex(R"(\d\d:\d\d:\d\d\.\d{3}  size        .*\\with space\\file\.txt)")))
        << line;
}

TEST(WatchCommand, EndsByItselfAndTellsHowItWent) {
    const TempFolder folder;
    const std::wstring file = folder.MakeFile(L"file");
    struct Case {
        std::wstring arguments;
        DWORD exitCode;
        const char* output;
    };
    const Case cases[] = {
        {L"watch \"" + file + L"\" --for 0", 0, ""},
        {L"watch \"" + folder.Path() + L"\" --for 0.1 --events name,dir,attributes,size,write,access", 0, ""},
        {L"watch \"" + (folder / L"none\\file") + L"\"", 1, "none\\file: "}, // nothing is left to watch
        {L"watch \"" + file + L"\" --events size,colour", 2, "colour"},
        {L"watch \"" + file + L"\" --events \",\"", 2, "--events"},
        {L"watch \"" + file + L"\" --for -1", 2, "--for"},
        {L"watch", 2, "PATH"},
    };
    for (const Case& test : cases) {
        OrvaProcess orva(test.arguments);
        const DWORD exitCode = orva.Wait();
        const std::string printed = orva.Output() + orva.Errors();
        EXPECT_EQ(test.exitCode, exitCode) << printed;
        if (*test.output == '\0') {
            EXPECT_EQ("", printed);
        } else {
            EXPECT_NE(std::string::npos, printed.find(test.output)) << printed;
        }
    }
}

} // namespace
} // namespace tarnu::test
