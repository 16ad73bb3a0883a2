/// @file
/// Runs a program that stands beside the test program, and catches what it prints.
#ifndef TARNU_TESTS_SUPPORT_PROGRAM_H
#define TARNU_TESTS_SUPPORT_PROGRAM_H

#include "support/TempFolder.h"
#include "support/Wait.h"
#include "tarnu/support/Owners.h"

#include <string>

namespace tarnu::test {

/// The path of a file in the folder of the test program.
std::wstring PathBesideTest(const std::wstring& name);

/// Starts a program as CreateProcessW does; again where Wine refuses with an internal error, as it now and then does
/// while other programs start, too.
/// @param arguments      quoted as they would be typed
/// @param inheritHandles the program takes over what can be inherited
/// @param folder         its current directory; that of this process when null
/// @return its process, or null with the last error set
support::UniqueHandle StartProgram(const std::wstring& path, const std::wstring& arguments, STARTUPINFOW& startup,
                                   bool inheritHandles, const wchar_t* folder);

/// One run of a program. A run that is still going when the object goes is ended.
class Program {
public:
    /// @param name      file name of the program, which stands beside the test program
    /// @param arguments quoted as they would be typed
    /// @param folder    its current directory; that of the test program when empty
    explicit Program(const std::wstring& name, const std::wstring& arguments, const std::wstring& folder = {});
    ~Program();
    Program(const Program&) = delete;
    Program& operator=(const Program&) = delete;

    DWORD Id() const { return m_id; }
    bool IsRunning() const;
    /// Waits for the end; returns the exit status, or 98 when there was none in time.
    DWORD Wait(DWORD milliseconds = mustHappen);
    /// What it printed so far, as it stands there: orva prints UTF-8.
    std::string Output() const { return ReadFile(m_folder / L"output"); }
    std::string Errors() const { return ReadFile(m_folder / L"errors"); }

private:
    TempFolder m_folder;
    support::UniqueHandle m_process;
    DWORD m_id = 0;
};

/// One run of the command-line program.
class OrvaProcess : public Program {
public:
    explicit OrvaProcess(const std::wstring& arguments, const std::wstring& folder = {})
        : Program(L"orva.exe", arguments, folder) {}
};

} // namespace tarnu::test

#endif // TARNU_TESTS_SUPPORT_PROGRAM_H
