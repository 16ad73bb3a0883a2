/// @file
/// Runs the command-line program and catches what it prints.
#ifndef TARNU_TESTS_ORVA_ORVAPROCESS_H
#define TARNU_TESTS_ORVA_ORVAPROCESS_H

#include "support/TempFolder.h"
#include "support/Wait.h"
#include "tarnu/support/Owners.h"

#include <gtest/gtest.h>
#include <string>

namespace tarnu::test {

/// One run of orva, which stands beside the test program. A run that is still going when the object goes is ended.
class OrvaProcess {
public:
    /// @param arguments quoted as they would be typed
    /// @param folder    its current directory; that of the test program when empty
    explicit OrvaProcess(const std::wstring& arguments, const std::wstring& folder = {}) {
        const support::UniqueFileHandle output = Capture(m_folder / L"output");
        const support::UniqueFileHandle errors = Capture(m_folder / L"errors");
        wchar_t path[MAX_PATH] = {};
        ::GetModuleFileNameW(nullptr, path, MAX_PATH);
        std::wstring program(path);
        program = program.substr(0, program.rfind(L'\\') + 1) + L"orva.exe";
        std::wstring command = L'"' + program + L"\" " + arguments;
        STARTUPINFOW startup{};
        startup.cb = sizeof startup;
        startup.dwFlags = STARTF_USESTDHANDLES;
        startup.hStdOutput = output.Get();
        startup.hStdError = errors.Get();
        PROCESS_INFORMATION process{};
        EXPECT_TRUE(::CreateProcessW(program.c_str(), command.data(), nullptr, nullptr, /*inheritHandles=*/TRUE, 0,
                                     nullptr, folder.empty() ? nullptr : folder.c_str(), &startup, &process))
            << ::GetLastError();
        const support::UniqueHandle thread(process.hThread);
        m_process.Reset(process.hProcess);
        m_id = process.dwProcessId;
    }
    ~OrvaProcess() {
        if (IsRunning()) {
            ::TerminateProcess(m_process.Get(), 99);
            ::WaitForSingleObject(m_process.Get(), mustHappen);
        }
    }
    OrvaProcess(const OrvaProcess&) = delete;
    OrvaProcess& operator=(const OrvaProcess&) = delete;

    DWORD Id() const { return m_id; }
    bool IsRunning() const { return m_process && ::WaitForSingleObject(m_process.Get(), 0) == WAIT_TIMEOUT; }

    /// Waits for the end; returns the exit status, or 98 when there was none in time.
    DWORD Wait() {
        DWORD status = 98;
        if (m_process && ::WaitForSingleObject(m_process.Get(), mustHappen) == WAIT_OBJECT_0) {
            ::GetExitCodeProcess(m_process.Get(), &status);
        }
        return status;
    }
    /// What it printed so far, in UTF-8.
    std::string Output() const { return ReadFile(m_folder / L"output"); }
    std::string Errors() const { return ReadFile(m_folder / L"errors"); }

private:
    static support::UniqueFileHandle Capture(const std::wstring& path) {
        SECURITY_ATTRIBUTES inherited{};
        inherited.nLength = sizeof inherited;
        inherited.bInheritHandle = TRUE;
        support::UniqueFileHandle file(::CreateFileW(path.c_str(), GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE,
                                                     &inherited, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr));
        EXPECT_TRUE(file) << ::GetLastError();
        return file;
    }

    TempFolder m_folder;
    support::UniqueHandle m_process;
    DWORD m_id = 0;
};

} // namespace tarnu::test

#endif // TARNU_TESTS_ORVA_ORVAPROCESS_H
