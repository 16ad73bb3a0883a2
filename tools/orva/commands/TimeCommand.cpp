#include "orva/Command.h"
#include "orva/Console.h"
#include "tarnu/TarnuWin32Utils.h"

#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace orva {
namespace {

struct Options {
    std::wstring program;
    std::vector<std::wstring> arguments;
    std::wstring report;
};

/// An argument in quotes, so that the program gets it as it is: backslashes count double before a quote alone.
std::wstring AsArgument(std::wstring_view argument) {
    std::wstring quoted = L"\"";
    std::size_t backslashes = 0;
    for (const wchar_t unit : argument) {
        if (unit == L'"') quoted.append(backslashes + 1, L'\\');
        backslashes = unit == L'\\' ? backslashes + 1 : 0;
        quoted += unit;
    }
    return quoted.append(backslashes, L'\\') + L'"';
}

using Handle = std::unique_ptr<void, BOOL(WINAPI*)(HANDLE)>;

/// Starts the program; null when it does not start.
Handle Start(const Options& options) {
    std::wstring line = AsArgument(options.program);
    for (const std::wstring& argument : options.arguments)
        line += L" " + AsArgument(argument);
    STARTUPINFOW startup{};
    startup.cb = sizeof startup;
    PROCESS_INFORMATION process{};
    if (!::CreateProcessW(nullptr, line.data(), nullptr, nullptr, /*bInheritHandles=*/TRUE, 0, nullptr, nullptr,
                          &startup, &process)) {
        const DWORD error = ::GetLastError();
        PrintError(L"orva: " + Named(options.program) + L": " + ErrorText(error) + L"\n");
        return {nullptr, &::CloseHandle};
    }
    ::CloseHandle(process.hThread);
    return {process.hProcess, &::CloseHandle};
}

/// Ctrl+C is for the program that runs.
BOOL WINAPI OnConsoleEvent(DWORD event) {
    return event == CTRL_C_EVENT || event == CTRL_BREAK_EVENT;
}

/// Waits for the end of a process, at which it stops the timer; returns the exit status.
DWORD WaitForEnd(HANDLE process, OrvaServerThread& server, OrvaTimer& timer) {
    std::optional<DWORD> status;
    OrvaMessageQueue queue(/*callback=*/nullptr, /*threadHandle=*/nullptr); // of this thread
    const auto tellEnd = [&status, &queue, &timer, process, isTold = false]() mutable {
        if (isTold) return; // a process stays signalled
        isTold = tarnu::Post(queue, [&status, &timer, process] {
                     timer.Stop();
                     ::GetExitCodeProcess(process, &status.emplace());
                 }) == OrvaServerSuccess;
    };
    if (tarnu::AddHandler(server, process, tellEnd) != OrvaServerSuccess)
        throw std::runtime_error("the program is not watched");
    ::SetConsoleCtrlHandler(&OnConsoleEvent, TRUE);
    while (!status) {
        if (tarnu::RunMessages(queue) == 0) ::SleepEx(INFINITE, /*bAlertable=*/TRUE);
    }
    ::SetConsoleCtrlHandler(&OnConsoleEvent, FALSE);
    server.Stop(); // no handler refers to the queue any more
    return *status;
}

int Run(const Options& options) {
    try {
        OrvaTimer timer(options.report.c_str(), /*addTimeStamp=*/0, /*overwrite=*/0);
        OrvaServerThread server;
        if (server.Start() != OrvaServerSuccess) throw std::runtime_error("no thread could be started");
        timer.Start();
        const Handle process = Start(options);
        if (process == nullptr) return exitFailure;
        const DWORD status = WaitForEnd(process.get(), server, timer);
        timer.WriteReport(options.program.c_str(), /*reset=*/false);
        Print(Format(L"%s: %s, exit status %lu\n", options.program.c_str(),
                     timer.GetElapsedText(/*reset=*/false).GetString(), status));
        return status == 0 ? exitSuccess : exitFailure;
    } catch (CFileException* error) {
        wchar_t text[512] = {};
        error->GetErrorMessage(text, 512);
        error->Delete();
        PrintError(L"orva: " + Named(options.report) + L": " + text + L"\n");
        return exitFailure;
    }
}

} // namespace

void AddTimeCommand(Command& program) {
    auto options = std::make_shared<Options>();
    Command& command = program.Add(
        "time",
        "Runs a program and prints how long it took.\n\nWrite -- before the program when its arguments begin "
        "with a dash. The report gets a line per run, so that runs can be compared. Ctrl+C is left to the program: "
        "when that ends, its time is printed.");
    command.Text("PROGRAM", options->program, "the program, found as the system finds programs").Required();
    command.Texts("ARGUMENT", options->arguments, "its arguments");
    command.Text("-r,--report", options->report, "FILE", "append the time to this report file");
    command.Example("--report times.txt -- robocopy C:\\jobs D:\\jobs /mir", "keep a record of the nightly copy");
    command.Statuses("the program ended with status 0", "it ended with another one, or did not start");
    command.Run([options] { return Run(*options); });
}

} // namespace orva
