// `orva watch`, run as a program of its own.

#include "support/TempFolder.h"
#include "support/Wait.h"
#include "tarnu/support/Owners.h"

#include <gtest/gtest.h>
#include <regex>
#include <string>

namespace tarnu::test {
namespace {

using support::UniqueHandle;

/// The program beside this one, with its standard output and its standard error in a pipe. Ended with the object.
class Orva {
public:
    explicit Orva(const std::wstring& arguments) {
        SECURITY_ATTRIBUTES inherited{sizeof inherited, nullptr, TRUE};
        UniqueHandle writing;
        EXPECT_TRUE(::CreatePipe(m_reading.Put(), writing.Put(), &inherited, 0));
        ::SetHandleInformation(m_reading.Get(), HANDLE_FLAG_INHERIT, 0);
        wchar_t path[MAX_PATH] = {};
        ::GetModuleFileNameW(nullptr, path, MAX_PATH);
        std::wstring program(path);
        program = program.substr(0, program.rfind(L'\\') + 1) + L"orva.exe";
        std::wstring command = L'"' + program + L"\" " + arguments;
        STARTUPINFOW startup{};
        startup.cb = sizeof startup;
        startup.dwFlags = STARTF_USESTDHANDLES;
        startup.hStdOutput = writing.Get();
        startup.hStdError = writing.Get();
        PROCESS_INFORMATION process{};
        EXPECT_TRUE(::CreateProcessW(program.c_str(), command.data(), nullptr, nullptr, TRUE, 0, nullptr, nullptr,
                                     &startup, &process))
            << ::GetLastError();
        const UniqueHandle thread(process.hThread);
        m_process.Reset(process.hProcess);
    }
    ~Orva() {
        if (!HasEnded()) ::TerminateProcess(m_process.Get(), 1);
    }

    /// What has been printed so far; carriage returns are taken out.
    const std::string& Output() {
        DWORD count = 0;
        char buffer[4096];
        while (::PeekNamedPipe(m_reading.Get(), nullptr, 0, nullptr, &count, nullptr) && count > 0 &&
               ::ReadFile(m_reading.Get(), buffer, sizeof buffer, &count, nullptr)) {
            m_output.append(buffer, count);
        }
        std::erase(m_output, '\r');
        return m_output;
    }
    bool HasEnded() const { return ::WaitForSingleObject(m_process.Get(), 0) == WAIT_OBJECT_0; }
    DWORD ExitCode() {
        EXPECT_TRUE(WaitUntil([&] {
            Output();
            return HasEnded();
        }));
        DWORD code = 99;
        ::GetExitCodeProcess(m_process.Get(), &code);
        Output();
        return code;
    }

private:
    UniqueHandle m_reading;
    UniqueHandle m_process;
    std::string m_output;
};

TEST(WatchCommand, PrintsEachChangeAsItComes) {
    const TempFolder folder;
    const std::wstring file = folder.MakeFile(L"with space\\file.txt");
    Orva orva(L"watch \"" + file + L"\" --events size --for 600");
    std::string contents;
    // Nothing tells when the watching has begun, so the file grows until the first line is there.
    ASSERT_TRUE(WaitUntil([&] {
        WriteFile(file, contents += 'x');
        ::Sleep(20);
        return orva.Output().find('\n') != std::string::npos;
    })) << orva.Output();
    EXPECT_FALSE(orva.HasEnded());
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
        Orva orva(test.arguments);
        EXPECT_EQ(test.exitCode, orva.ExitCode()) << orva.Output();
        if (*test.output == '\0') {
            EXPECT_EQ("", orva.Output());
        } else {
            EXPECT_NE(std::string::npos, orva.Output().find(test.output)) << orva.Output();
        }
    }
}

} // namespace
} // namespace tarnu::test
