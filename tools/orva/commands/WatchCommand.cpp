#include "orva/Command.h"
#include "orva/Console.h"
#include "tarnu/TarnuWin32Utils.h"

#include <algorithm>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace orva {
namespace {

struct Options {
    std::vector<std::wstring> paths;
    std::vector<std::string> events = {"name", "size", "write"};
    double seconds = -1; ///< negative: until Ctrl+C
};

struct EventName {
    const char* name;
    DWORD bit;
};
constexpr EventName eventNames[] = {
    {"name", FILE_NOTIFY_CHANGE_FILE_NAME},        {"dir", FILE_NOTIFY_CHANGE_DIR_NAME},
    {"attributes", FILE_NOTIFY_CHANGE_ATTRIBUTES}, {"size", FILE_NOTIFY_CHANGE_SIZE},
    {"write", FILE_NOTIFY_CHANGE_LAST_WRITE},      {"access", FILE_NOTIFY_CHANGE_LAST_ACCESS},
};

/// The bits of the events that are named.
DWORD FilterOf(const std::vector<std::string>& names) {
    DWORD filter = 0;
    for (const std::string& name : names) {
        const auto* const found = std::find_if(std::begin(eventNames), std::end(eventNames),
                                               [&name](const EventName& event) { return event.name == name; });
        if (found == std::end(eventNames)) throw UsageError("--events: there is no event \"" + name + "\"");
        filter |= found->bit;
    }
    return filter;
}

/// Prints what happens, one line each.
class Printer : public OrvaFileEventListener {
public:
    void Add(OrvaFileEventCookie cookie, const std::wstring& path) { m_paths[cookie] = path; }
    std::size_t FailureCount() const { return m_failureCount; }

    void OnFileNameChanged(OrvaFileEventCookie cookie) override { Changed(cookie, L"name"); }
    void OnDirNameChanged(OrvaFileEventCookie cookie) override { Changed(cookie, L"dir"); }
    void OnAttributesChanged(OrvaFileEventCookie cookie) override { Changed(cookie, L"attributes"); }
    void OnSizeChanged(OrvaFileEventCookie cookie) override { Changed(cookie, L"size"); }
    void OnLastWriteChanged(OrvaFileEventCookie cookie) override { Changed(cookie, L"write"); }
    void OnLastAccessChanged(OrvaFileEventCookie cookie) override { Changed(cookie, L"access"); }
    void OnError(OrvaFileEventCookie cookie, DWORD error) override {
        ++m_failureCount;
        PrintError(
            Format(L"orva: %s: %s\n", m_paths[cookie].c_str(), OrvaGetSystemErrorText(error).TrimRight().GetString()));
    }

private:
    void Changed(OrvaFileEventCookie cookie, const wchar_t* kind) {
        SYSTEMTIME now{};
        ::GetLocalTime(&now);
        Print(Format(L"%02u:%02u:%02u.%03u  %-10s  %s\n", now.wHour, now.wMinute, now.wSecond, now.wMilliseconds, kind,
                     m_paths[cookie].c_str()));
    }

    std::map<OrvaFileEventCookie, std::wstring> m_paths;
    std::size_t m_failureCount = 0;
};

constexpr UINT stopMessage = WM_APP;

/// Ctrl+C ends the watching, not the program in the middle of a line. Called on a thread of the system's own.
BOOL WINAPI OnConsoleEvent(DWORD event) {
    return (event == CTRL_C_EVENT || event == CTRL_BREAK_EVENT) &&
           OrvaGetWndMsgServer()->PostMessage(stopMessage, 0, 0);
}

/// Dispatches messages until the time is over, WM_QUIT comes, or nothing is left to watch.
void Pump(const Printer& printer, std::size_t count, double seconds) {
    const ULONGLONG end = seconds < 0 ? 0 : ::GetTickCount64() + static_cast<ULONGLONG>(seconds * 1000);
    while (printer.FailureCount() < count) {
        const ULONGLONG now = ::GetTickCount64();
        if (seconds >= 0 && now >= end) return;
        const DWORD wait = seconds < 0 ? INFINITE : static_cast<DWORD>(std::min<ULONGLONG>(end - now, 60000));
        ::MsgWaitForMultipleObjectsEx(/*nCount=*/0, nullptr, wait, QS_ALLINPUT, MWMO_INPUTAVAILABLE);
        MSG message;
        while (::PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE)) {
            if (message.message == WM_QUIT) return;
            ::DispatchMessageW(&message);
        }
    }
}

int Watch(const Options& options) {
    const DWORD filter = FilterOf(options.events);
    OrvaFileEventServer* const server = OrvaGetFileEventServer();
    Printer printer;
    for (const std::wstring& path : options.paths) {
        OrvaFileEventCookie cookie = nullptr;
        const HRESULT result = server->RegisterFile(path.c_str(), filter, &printer, cookie);
        if (FAILED(result)) {
            PrintError(Format(L"orva: %s: cannot be watched (0x%08lX)\n", path.c_str(), result));
            server->Stop();
            return exitFailure;
        }
        printer.Add(cookie, path);
    }
    const tarnu::MessageSubscription stop(stopMessage,
                                          [](const OrvaWndMsgServer::MessageRecord&) { ::PostQuitMessage(0); });
    ::SetConsoleCtrlHandler(&OnConsoleEvent, TRUE);
    Pump(printer, options.paths.size(), options.seconds);
    ::SetConsoleCtrlHandler(&OnConsoleEvent, FALSE);
    server->Stop();
    return printer.FailureCount() == 0 ? exitSuccess : exitFailure;
}

} // namespace

void AddWatchCommand(Command& program) {
    auto options = std::make_shared<Options>();
    Command& command = program.Add(
        "watch",
        "Prints the changes of files and folders as they come, with time and kind.\n\nThe events name, dir and "
        "attributes are reported whenever anything in the file's folder signals them. Ctrl+C ends the "
        "watching.");
    command.Texts("PATH", options->paths, "files, and folders whose entries are to be watched").Required();
    std::vector<std::string> words;
    for (const EventName& event : eventNames)
        words.emplace_back(event.name);
    command.WordList("-e,--events", options->events, words, "EVENT", "what to report");
    command.Number("-f,--for", options->seconds, 0.0, 1e9, "SECONDS", "stop after so many seconds (else: Ctrl+C)");
    command.Example("C:\\jobs\\plan.xml --for 60", "the changes of one file during a minute");
    command.Statuses("the time is over, or Ctrl+C was pressed", "something cannot be watched, or no longer");
    command.Run([options] { return Watch(*options); });
}

} // namespace orva
