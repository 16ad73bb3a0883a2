#include "support/HostProgram.h"

#include "support/Program.h"

#include <gtest/gtest.h>
#include <string_view>

namespace tarnu::test {
namespace {

constexpr std::wstring_view option = L" --run-on-host ";

} // namespace

void RunOnHost(const std::wstring& command) {
    wchar_t path[MAX_PATH] = {};
    ::GetModuleFileNameW(nullptr, path, MAX_PATH);
    const std::wstring_view name(path);
    Program caller(std::wstring(name.substr(name.rfind(L'\\') + 1)), std::wstring(option) + command);
    EXPECT_EQ(caller.Wait(), 0u) << caller.Errors();
}

void ServeRunOnHost() {
    const std::wstring line = ::GetCommandLineW();
    const std::size_t found = line.find(option);
    if (found == std::wstring::npos) return;
    const std::wstring command = line.substr(found + option.size());
    const std::size_t nameEnd = command.find(L' ');
    STARTUPINFOW startup{};
    startup.cb = sizeof startup;
    // The handle of the result is as arbitrary as the one that is closed.
    (void)StartProgram(L"\\\\?\\unix\\bin\\" + command.substr(0, nameEnd), command.substr(nameEnd), startup,
                       /*inheritHandles=*/false, nullptr)
        .Release();
    ::TerminateProcess(::GetCurrentProcess(), 0);
}

} // namespace tarnu::test
