// Command lines that nobody would type: words of orva's own vocabulary in any order.

#include "hostile/Random.h"
#include "orva/Command.h"
#include "orva/Console.h"
#include "support/CrashName.h"
#include "support/TempFolder.h"
#include "tarnu/support/Owners.h"

#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace tarnu::test::hostile {
namespace {

using support::UniqueFileHandle;

/// Standard error goes to a file meanwhile.
class CapturedErrors {
public:
    explicit CapturedErrors(const std::wstring& path)
        : m_file(::CreateFileW(path.c_str(), GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ, nullptr, CREATE_ALWAYS, 0,
                               nullptr))
        , m_original(::GetStdHandle(STD_ERROR_HANDLE)) {
        EXPECT_TRUE(m_file);
        ::SetStdHandle(STD_ERROR_HANDLE, m_file.Get());
    }
    ~CapturedErrors() { ::SetStdHandle(STD_ERROR_HANDLE, m_original); }
    CapturedErrors(const CapturedErrors&) = delete;
    CapturedErrors& operator=(const CapturedErrors&) = delete;

    /// What was written since the last time.
    std::string Take() {
        LARGE_INTEGER size{};
        ::GetFileSizeEx(m_file.Get(), &size);
        std::string text(static_cast<std::size_t>(size.QuadPart), '\0');
        ::SetFilePointer(m_file.Get(), 0, nullptr, FILE_BEGIN);
        DWORD read = 0;
        ::ReadFile(m_file.Get(), text.data(), static_cast<DWORD>(text.size()), &read, nullptr);
        ::SetFilePointer(m_file.Get(), 0, nullptr, FILE_BEGIN);
        ::SetEndOfFile(m_file.Get());
        return text;
    }

private:
    UniqueFileHandle m_file;
    HANDLE m_original;
};

/// Those that ask a person, run programs or go on without end have their parsing tested only, by a mistake at the end.
const std::wstring commands[] = {
    L"tree",      L"copy",          L"move",           L"delete",        L"zip",    L"unzip",   L"path",  L"path split",
    L"path join", L"path relative", L"path normalise", L"path absolute", L"points", L"landxml", L"xml",   L"error",
    L"registry",  L"memory",        L"help",           L"completion",    L"report", L"browse",  L"watch", L"modified",
    L"time",      L"message",       L"tour",           L"frob",          L""};
const std::wstring onlyParsed[] = {L"browse", L"watch", L"modified", L"time", L"message", L"tour", L"report"};

/// Relative names of a folder that is made for it, options of all commands, and values that fit some of them.
const std::wstring words[] = {L"--files",    L"--pattern",  L"-p",         L"--policy",
                              L"--retries",  L"-r",         L"--list",     L"-l",
                              L"--quiet",    L"-q",         L"--password", L"--skip-bad",
                              L"--name",     L"--units",    L"--points",   L"--read",
                              L"--subtract", L"--expand",   L"--count",    L"--help",
                              L"-h",         L"--version",  L"--slashes",  L"--",
                              L"-",          L"--=",        L"--files=no", L"-pq",
                              L"-p=",        L"--markdown", L"--for",      L"--size",
                              L"in",         L"in\\a.txt",  L"in/b.xml",   L"out",
                              L"out\\deep",  L"survey.csv", L"a.zip",      L"bad.zip",
                              L"none",       L".",          L"nul",        L"fail",
                              L"skip",       L"overwrite",  L"newer",      L"meter",
                              L"foot",       L"bash",       L"powershell", L"1",
                              L"-1",         L"0",          L"1-5,7",      L"1-",
                              L"9-3",        L"x",          L"4294967296", L"0x80070005",
                              L"1e999",      L"nan",        L"",           L" ",
                              L"*",          L"*.xml",      L"?",          L"\xD800",
                              L"\x202E",     L"a,b,,c",     L",",          L"\"",
                              L"%PATH%",     L"C:",         L"Software",   L"Software\\Microsoft"};

} // namespace

TEST(HostileCommandLines, EndWithAStatusAndAReason) {
    const TempFolder temp;
    const std::wstring folder = temp.MakeFolder(L"sandbox");
    ASSERT_TRUE(::SetCurrentDirectoryW(folder.c_str()));
    const std::wstring witness = temp.MakeFile(L"witness", "untouched");
    CapturedErrors errors(temp / L"errors");
    unsigned counts[3] = {};
    for (std::uint64_t seed = 1; seed <= 2000 && !::testing::Test::HasFailure(); ++seed) {
        if (seed % 20 == 1) {
            RemoveTree(folder + L"\\out");
            temp.MakeFile(L"sandbox\\in\\a.txt", "text");
            temp.MakeFile(L"sandbox\\in\\b.xml", "<a b='1'>text</a>");
            temp.MakeFile(L"sandbox\\survey.csv", "1,2,3,4,five\n2,3,4\n");
            temp.MakeFile(L"sandbox\\bad.zip", "PK\3\4 and no more");
        }
        Random random(seed);
        const std::wstring command = random.Pick(commands);
        std::vector<std::wstring> arguments;
        const std::size_t blank = command.find(L' ');
        if (!command.empty()) arguments.push_back(command.substr(0, blank));
        if (blank != std::wstring::npos) arguments.push_back(command.substr(blank + 1));
        for (std::size_t count = random.Below(7); count > 0; --count)
            arguments.push_back(random.Pick(words));
        const bool isOnlyParsed =
            std::find(std::begin(onlyParsed), std::end(onlyParsed), command) != std::end(onlyParsed);
        if (isOnlyParsed) arguments.insert(arguments.begin() + 1, L"--no-such-option");
        std::string line;
        for (const std::wstring& argument : arguments)
            line += " [" + orva::Utf8(argument) + "]";
        NameInput("seed %llu:%.200s", seed, line.c_str());

        const orva::CapturedOutput output;
        const int status = orva::RunProgram(arguments);
        const std::string complaint = errors.Take();
        ASSERT_TRUE(status >= 0 && status <= 2) << status << " from " << InputName();
        ++counts[status];
        if (status == 2) {
            EXPECT_TRUE(output.Text().empty()) << InputName();
            EXPECT_NE(std::string::npos, complaint.find("\nTry \"orva")) << InputName() << '\n' << complaint;
        }
        EXPECT_TRUE(status == 0 || complaint.find("orva: ") != std::string::npos) << InputName() << '\n' << complaint;
        EXPECT_FALSE(isOnlyParsed && status == 1) << InputName();
    }
    EXPECT_EQ("untouched", ReadFile(witness));
    for (const unsigned count : counts)
        EXPECT_GT(count, 50u);
}

} // namespace tarnu::test::hostile
