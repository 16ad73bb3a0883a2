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
    std::vector<std::string> paths;
    std::string events = "name,size,write";
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

/// The bits of a comma list of event names.
DWORD ParseEvents(const std::string& text) {
    CStringList items;
    OrvaSplitCommaList(Wide(text).c_str(), items);
    DWORD filter = 0;
    for (POSITION position = items.GetHeadPosition(); position != nullptr;) {
        const std::string item = Utf8(items.GetNext(position).GetString());
        const auto* const found = std::find_if(std::begin(eventNames), std::end(eventNames),
                                               [&](const EventName& event) { return event.name == item; });
        if (found == std::end(eventNames)) {
            throw CLI::ValidationError("--events", "there is no event '" + item +
                                                       "'; known are name, dir, attributes, size, write and access");
        }
        filter |= found->bit;
    }
    if (filter == 0) throw CLI::ValidationError("--events", "no event is named");
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

DWORD watchingThread = 0;

/// Ctrl+C ends the watching, not the program in the middle of a line.
BOOL WINAPI OnConsoleEvent(DWORD event) {
    return (event == CTRL_C_EVENT || event == CTRL_BREAK_EVENT) && ::PostThreadMessageW(watchingThread, WM_QUIT, 0, 0);
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
    const DWORD filter = ParseEvents(options.events);
    OrvaFileEventServer* const server = OrvaGetFileEventServer();
    Printer printer;
    for (const std::string& text : options.paths) {
        const std::wstring path = Wide(text);
        OrvaFileEventCookie cookie = nullptr;
        const HRESULT result = server->RegisterFile(path.c_str(), filter, &printer, cookie);
        if (FAILED(result)) {
            PrintError(Format(L"orva: %s: cannot be watched (0x%08lX)\n", path.c_str(), result));
            server->Stop();
            return exitFailure;
        }
        printer.Add(cookie, path);
    }
    watchingThread = ::GetCurrentThreadId();
    ::SetConsoleCtrlHandler(&OnConsoleEvent, TRUE);
    Pump(printer, options.paths.size(), options.seconds);
    ::SetConsoleCtrlHandler(&OnConsoleEvent, FALSE);
    server->Stop();
    return printer.FailureCount() == 0 ? exitSuccess : exitFailure;
}

} // namespace

void AddWatchCommand(CLI::App& program, Action& action) {
    auto options = std::make_shared<Options>();
    CLI::App* command = program.add_subcommand("watch", "Prints the changes of files and folders as they come");
    command->add_option("PATH", options->paths, "Files, or folders whose entries are to be watched")->required();
    command
        ->add_option("--events", options->events,
                     "Comma list of name, dir, attributes, size, write, access. The first three are reported "
                     "whenever anything in the file's folder signals")
        ->capture_default_str();
    command->add_option("--for", options->seconds, "Stop after this many seconds (else: Ctrl+C)")
        ->check(CLI::Range(0.0, 1e9))
        ->type_name("SECONDS");
    command->callback([options, &action] { action = [options] { return Watch(*options); }; });
}

} // namespace orva
