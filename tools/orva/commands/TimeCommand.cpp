#include "orva/Command.h"
#include "orva/Console.h"
#include "tarnu/TarnuWin32Utils.h"

#include <future>
#include <memory>
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

/// Tells when a process ends. Served by a server thread, to which it belongs then.
class ProcessEnd : public OrvaServerEventHandler {
public:
    ProcessEnd(HANDLE process, OrvaTimer& timer) : m_process(process), m_timer(timer) {}
    ~ProcessEnd() override { ::CloseHandle(m_process); }

    /// The exit status, once the process has ended.
    std::future<DWORD> Status() { return m_status.get_future(); }

    HANDLE GetHandle() override { return m_process; }
    void OnSignaled() override {
        if (m_hasTold) return; // a process stays signalled
        m_hasTold = true;
        m_timer.Stop();
        DWORD status = 0;
        ::GetExitCodeProcess(m_process, &status);
        m_status.set_value(status);
    }

private:
    const HANDLE m_process;
    OrvaTimer& m_timer;
    std::promise<DWORD> m_status;
    bool m_hasTold = false;
};

/// Starts the program; null when it does not start.
HANDLE Start(const Options& options) {
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
        return nullptr;
    }
    const std::unique_ptr<void, BOOL(WINAPI*)(HANDLE)> thread(process.hThread, &::CloseHandle);
    return process.hProcess;
}

int Run(const Options& options) {
    try {
        OrvaTimer timer(options.report.c_str(), /*addTimeStamp=*/0, /*overwrite=*/0);
        OrvaServerThread server;
        if (server.Start() != OrvaServerSuccess) throw std::runtime_error("no thread could be started");
        timer.Start();
        const HANDLE process = Start(options);
        if (process == nullptr) return exitFailure;
        auto end = std::make_unique<ProcessEnd>(process, timer);
        std::future<DWORD> ended = end->Status();
        if (server.AddHandler(end.get()) != OrvaServerSuccess) throw std::runtime_error("the program is not watched");
        end.release(); // the server deletes it
        const DWORD status = ended.get();
        server.Stop();
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
        "time", "Runs a program and prints how long it took.\n\nWrite -- before the program when its arguments begin "
                "with a dash. The report gets a line per run, so that runs can be compared.");
    command.Text("PROGRAM", options->program, "the program, found as the system finds programs").Required();
    command.Texts("ARGUMENT", options->arguments, "its arguments");
    command.Text("-r,--report", options->report, "FILE", "append the time to this report file");
    command.Example("--report times.txt -- robocopy C:\\jobs D:\\jobs /mir", "keep a record of the nightly copy");
    command.Statuses("the program ended with status 0", "it ended with another one, or did not start");
    command.Run([options] { return Run(*options); });
}

} // namespace orva
