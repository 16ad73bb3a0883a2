#include "support/Program.h"

#include "support/Text.h"

#include <gtest/gtest.h>

namespace tarnu::test {

std::wstring PathBesideTest(const std::wstring& name) {
    wchar_t path[MAX_PATH] = {};
    ::GetModuleFileNameW(nullptr, path, MAX_PATH);
    const std::wstring program(path);
    return program.substr(0, program.rfind(L'\\') + 1) + name;
}

support::UniqueHandle StartProgram(const std::wstring& path, const std::wstring& arguments, STARTUPINFOW& startup,
                                   bool inheritHandles, const wchar_t* folder) {
    std::wstring command = Quoted(path) + L" " + arguments;
    for (int attempt = 0; attempt < 5; ++attempt) {
        PROCESS_INFORMATION process{};
        if (::CreateProcessW(path.c_str(), command.data(), nullptr, nullptr, inheritHandles, 0, nullptr, folder,
                             &startup, &process)) {
            const support::UniqueHandle thread(process.hThread);
            return support::UniqueHandle(process.hProcess);
        }
        if (::GetLastError() != ERROR_INTERNAL_ERROR) break;
    }
    return support::UniqueHandle();
}

Program::Program(const std::wstring& name, const std::wstring& arguments, const std::wstring& folder) {
    const auto capture = [this](const wchar_t* file) {
        SECURITY_ATTRIBUTES inherited{sizeof inherited, nullptr, /*bInheritHandle=*/TRUE};
        return support::UniqueFileHandle(::CreateFileW((m_folder / file).c_str(), GENERIC_WRITE,
                                                       FILE_SHARE_READ | FILE_SHARE_WRITE, &inherited, CREATE_ALWAYS,
                                                       FILE_ATTRIBUTE_NORMAL, nullptr));
    };
    const support::UniqueFileHandle output = capture(L"output");
    const support::UniqueFileHandle errors = capture(L"errors");
    EXPECT_TRUE(output && errors) << ::GetLastError();
    const std::wstring program = PathBesideTest(name);
    STARTUPINFOW startup{};
    startup.cb = sizeof startup;
    startup.dwFlags = STARTF_USESTDHANDLES;
    startup.hStdOutput = output.Get();
    startup.hStdError = errors.Get();
    m_process =
        StartProgram(program, arguments, startup, /*inheritHandles=*/true, folder.empty() ? nullptr : folder.c_str());
    EXPECT_TRUE(m_process) << ::GetLastError();
    m_id = ::GetProcessId(m_process.Get());
}

Program::~Program() {
    if (IsRunning()) {
        ::TerminateProcess(m_process.Get(), 99);
        ::WaitForSingleObject(m_process.Get(), mustHappen);
    }
}

bool Program::IsRunning() const {
    return m_process && ::WaitForSingleObject(m_process.Get(), 0) == WAIT_TIMEOUT;
}

DWORD Program::Wait(DWORD milliseconds) {
    DWORD status = 98;
    if (m_process && ::WaitForSingleObject(m_process.Get(), milliseconds) == WAIT_OBJECT_0) {
        ::GetExitCodeProcess(m_process.Get(), &status);
    }
    return status;
}

} // namespace tarnu::test
